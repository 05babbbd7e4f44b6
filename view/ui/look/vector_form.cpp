#include "view/ui/look/vector_form.h"

#include <QFormLayout>
#include <QSpinBox>
#include <limits>

#include "core/ui/number_edit.h"

namespace vyn {

VectorForm::VectorForm(QWidget* parent)
    : QWidget(parent), scale_(new NumberEdit), u_skip_(new QSpinBox), v_skip_(new QSpinBox) {
    scale_->setObjectName(QStringLiteral("vector_scale"));
    scale_->setToolTip(tr("Image pixels drawn per pixel of displacement"));
    scale_->set_range(std::numeric_limits<double>::min(), 1e9);
    u_skip_->setObjectName(QStringLiteral("u_skip"));
    u_skip_->setToolTip(tr("Every so many columns of vectors are drawn"));
    v_skip_->setObjectName(QStringLiteral("v_skip"));
    v_skip_->setToolTip(tr("Every so many rows of vectors are drawn"));
    for (QSpinBox* skip : {u_skip_, v_skip_}) {
        skip->setRange(1, 10000);
        connect(skip, QOverload<int>::of(&QSpinBox::valueChanged), this, &VectorForm::read_fields);
    }
    connect(scale_, &QLineEdit::textChanged, this, &VectorForm::read_fields);
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(tr("Vector scale:"), scale_);
    form->addRow(tr("U skip:"), u_skip_);
    form->addRow(tr("V skip:"), v_skip_);
}

void VectorForm::show_style(const VectorStyle& style) {
    style_ = style;
    writing_ = true;
    // A line that already reads as this number is being typed in.
    if (scale_->number() != style.scale) scale_->set_number(style.scale);
    u_skip_->setValue(style.u_skip);
    v_skip_->setValue(style.v_skip);
    writing_ = false;
}

bool VectorForm::sound() const {
    return scale_->number().has_value();
}

void VectorForm::read_fields() {
    if (writing_ || !sound()) return;
    style_.scale = *scale_->number();
    style_.u_skip = u_skip_->value();
    style_.v_skip = v_skip_->value();
    Q_EMIT style_chosen(style_);
}

}  // namespace vyn
