#include "view/ui/look/picture_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <cmath>

#include "core/numbers.h"
#include "core/ui/number_edit.h"

namespace vyn {

PictureDialog::PictureDialog(const PictureOptions& options, int width, int height, bool has_markers,
                             QWidget* parent)
    : QDialog(parent), options_(options), width_(width), height_(height) {
    setWindowTitle(tr("Picture for presentation"));
    setObjectName(QStringLiteral("PictureDialog"));
    title_ = new QLineEdit(QString::fromStdString(options.title));
    title_->setObjectName(QStringLiteral("title"));
    scale_ = new NumberEdit;
    scale_->setObjectName(QStringLiteral("scale"));
    scale_->setToolTip(tr("Picture pixels per image pixel"));
    scale_->set_range(0.001, 64);
    scale_->set_number(options.scale);
    size_ = new QLabel;
    colour_bar_ = new QCheckBox(tr("&Colour bar with ticks and unit"));
    colour_bar_->setObjectName(QStringLiteral("colour_bar"));
    colour_bar_->setChecked(options.colour_bar);
    limits_ = new QCheckBox(tr("&Limits in the title"));
    limits_->setObjectName(QStringLiteral("limits"));
    markers_ = new QCheckBox(tr("&Markers with their numbers"));
    markers_->setObjectName(QStringLiteral("markers"));
    markers_->setChecked(options.markers && has_markers);
    markers_->setEnabled(has_markers);
    hatching_ = new QCheckBox(tr("&Hatch what is less sure than the limit"));
    hatching_->setObjectName(QStringLiteral("hatching"));
    hatching_->setChecked(options.hatching.shown());
    hatching_->setEnabled(options.hatching.shown());

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &PictureDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PictureDialog::reject);
    connect(scale_, &QLineEdit::textChanged, this, &PictureDialog::show_size);

    auto* form = new QFormLayout(this);
    form->addRow(tr("&Title:"), title_);
    form->addRow(tr("&Scale:"), scale_);
    form->addRow(tr("Field:"), size_);
    form->addRow(colour_bar_);
    form->addRow(limits_);
    form->addRow(markers_);
    form->addRow(hatching_);
    form->addRow(buttons);
    show_size();
}

void PictureDialog::show_size() {
    const auto scale = scale_->number();
    size_->setText(
        scale
            ? tr("%1 x %2 pixels").arg(std::ceil(width_ * *scale)).arg(std::ceil(height_ * *scale))
            : QString());
}

void PictureDialog::accept() {
    if (scale_->check()) QDialog::accept();
}

PictureOptions PictureDialog::options() const {
    PictureOptions chosen = options_;
    chosen.title = title_->text().toStdString();
    if (limits_->isChecked())
        chosen.title += (chosen.title.empty() ? "" : "  ") +
                        format_general(options_.limits.minimum, 5) + " to " +
                        format_general(options_.limits.maximum, 5);
    chosen.scale = scale_->number().value_or(options_.scale);
    chosen.colour_bar = colour_bar_->isChecked();
    chosen.markers = markers_->isChecked();
    if (!hatching_->isChecked()) chosen.hatching = {};
    return chosen;
}

}  // namespace vyn
