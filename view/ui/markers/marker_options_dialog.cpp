#include "view/ui/markers/marker_options_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "core/keys.h"

namespace vyn {

MarkerOptionsDialog::MarkerOptionsDialog(QWidget* parent)
    : QDialog(parent), size_(new QSpinBox(this)), pit_(new QCheckBox(tr("Marker pit"), this)) {
    setObjectName(QStringLiteral("MarkerOptions"));
    setWindowTitle(tr("Markers Option"));
    const KeyInfo& size = *find_key(keys::marker_size.path);
    size_->setObjectName(QStringLiteral("size"));
    size_->setRange(static_cast<int>(size.allowed.low), static_cast<int>(size.allowed.high));
    size_->setSuffix(tr(" pix "));
    size_->setToolTip(
        tr("How far from a click a dot is looked for, and the box of its refinement"));
    size_->setValue(read(vyn_db(), keys::marker_size));
    pit_->setObjectName(QStringLiteral("pit"));
    pit_->setToolTip(tr("Markers are dark dots; otherwise bright ones"));
    pit_->setChecked(read(vyn_db(), keys::marker_pit) != 0);

    auto* group = new QGroupBox(tr("Marker size"), this);
    auto* form = new QFormLayout(group);
    form->addRow(tr("Size"), size_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Cancel)->setText(tr("Cancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &MarkerOptionsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &MarkerOptionsDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addWidget(group);
    column->addWidget(pit_);
    column->addWidget(buttons);
}

void MarkerOptionsDialog::accept() {
    const int pit = pit_->isChecked() ? 1 : 0;
    if (read(vyn_db(), keys::marker_size) != size_->value())
        write(vyn_db(), keys::marker_size, size_->value());
    if (read(vyn_db(), keys::marker_pit) != pit) write(vyn_db(), keys::marker_pit, pit);
    QDialog::accept();
}

}  // namespace vyn
