#include "app/pages/image_card.h"

#include <QGridLayout>
#include <QLabel>
#include <QToolButton>

#include "app/pages/input_row.h"
#include "app/pages/setting_edit.h"
#include "core/ui/icons.h"

namespace vyn {

namespace {

constexpr QSize preview_size{112, 84};

}  // namespace

ImageCard::ImageCard(const PageCard& card, QWidget* parent)
    : QGroupBox(QString::fromStdString(card.title), parent),
      raw_(card.raw),
      preview_(new QToolButton(this)) {
    preview_->setObjectName(QString::fromStdString(card.stem + "_preview"));
    preview_->setIconSize(preview_size);
    preview_->setFixedSize(preview_size + QSize(8, 8));
    preview_->setAutoRaise(true);
    preview_->setFocusPolicy(Qt::NoFocus);  // the row's view button does the same
    preview_->setToolTip(tr("View the image"));
    preview_->setAccessibleName(tr("Preview of %1").arg(title()));
    connect(preview_, &QToolButton::clicked, this, [this] { Q_EMIT view_wanted(raw_->name); });

    auto* grid = new QGridLayout(this);
    grid->setVerticalSpacing(2);
    int line = 0;
    for (const PageRow& row : card.rows) {
        auto* widget = new InputRow(row, this);
        rows_.push_back(widget);
        grid->addWidget(new QLabel(tr("%1:").arg(QString::fromStdString(row.label)), this), line,
                        1);
        grid->addWidget(widget, line++, 2);
        connect(widget, &InputRow::view_wanted, this,
                [this, image = row.input.image] { Q_EMIT view_wanted(image); });
    }
    dark_ = new SettingEdit(raw_->dark_level, this);
    dark_->setObjectName(QString::fromStdString(card.stem + "_dark_edit"));
    dark_->setToolTip(tr("Dark level in counts; pixels below it are excluded. 0: off"));
    auto* dark_label = new QLabel(tr("Dark level:"), this);
    dark_label->setBuddy(dark_);
    auto* dark_line = new QHBoxLayout;
    dark_line->setSpacing(6);
    dark_line->setSpacing(6);
    dark_line->addWidget(dark_);
    dark_line->addWidget(new QLabel(tr("counts"), this));
    dark_line->addStretch(1);
    grid->addWidget(dark_label, line, 1);
    grid->addLayout(dark_line, line, 2);
    grid->addWidget(preview_, 0, 0, line + 1, 1, Qt::AlignCenter);
    grid->setColumnStretch(2, 1);
    connect(dark_, &SettingEdit::written, this, &ImageCard::settings_changed);
}

void ImageCard::show_look(const PageLook& look) {
    for (InputRow* row : rows_)
        row->show_state(look.state.rows.at(row->row().stem));
    dark_->show_setting();
    const auto picture = look.previews.find(raw_->name);
    const bool present = picture != look.previews.end();
    preview_->setEnabled(present);
    const qint64 key = present ? picture->second.picture.cacheKey() : 0;
    if (key == shown_ && !preview_->icon().isNull()) return;
    shown_ = key;
    preview_->setIcon(present ? QIcon(QPixmap::fromImage(picture->second.picture))
                              : vyn_icon(QStringLiteral("thumbnail.png")));
}

}  // namespace vyn
