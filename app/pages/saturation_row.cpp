#include "app/pages/saturation_row.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>

#include "app/pages/setting_edit.h"

namespace vyn {

SaturationRow::SaturationRow(QWidget* parent)
    : QWidget(parent),
      exclude_(new QCheckBox(tr("E&xclude saturated pixels,"), this)),
      level_(new SettingEdit(keys::saturation_level, this)) {
    exclude_->setObjectName(QStringLiteral("saturation_exclude"));
    level_->setObjectName(QStringLiteral("saturation_level_edit"));
    level_->setToolTip(
        tr("The sensor's maximum in counts. 0: the largest value that the file's pixels can hold"));
    auto* label = new QLabel(tr("&level:"), this);
    label->setBuddy(level_);
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(exclude_);
    line->addWidget(label);
    line->addWidget(level_);
    line->addWidget(new QLabel(tr("counts"), this));
    line->addStretch(1);
    connect(exclude_, &QCheckBox::clicked, this, [this](bool on) {
        write(vyn_db(), keys::saturation_exclude, on ? 1 : 0);
        Q_EMIT changed();
    });
    connect(level_, &SettingEdit::written, this, &SaturationRow::changed);
}

void SaturationRow::show_settings() {
    exclude_->setChecked(read(vyn_db(), keys::saturation_exclude) != 0);
    level_->show_setting();
}

}  // namespace vyn
