#include "view/ui/look/iso_form.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <limits>

#include "core/ui/number_edit.h"
#include "render/iso_levels.h"

namespace vyn {

IsoForm::IsoForm(QWidget* parent)
    : QWidget(parent),
      kind_(new QComboBox),
      number_(new NumberEdit),
      labels_(new QCheckBox(tr("&Numbers on them"))) {
    kind_->setObjectName(QStringLiteral("iso_kind"));
    kind_->addItems({tr("none"), tr("number"), tr("step")});
    kind_->setToolTip(
        tr("Lines of equal value: so many between the limits, or at the multiples of a step"));
    number_->setObjectName(QStringLiteral("iso_number"));
    number_->setToolTip(tr("How many lines, or the step from one to the next in the field's unit"));
    labels_->setObjectName(QStringLiteral("iso_labels"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(kind_);
    row->addWidget(number_, 1);
    row->addWidget(labels_);
    connect(kind_, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &IsoForm::choose_kind);
    connect(number_, &QLineEdit::textChanged, this, &IsoForm::read_fields);
    connect(labels_, &QCheckBox::toggled, this, &IsoForm::read_fields);
    show_style({});
}

void IsoForm::show_style(const IsoStyle& style) {
    style_ = style;
    writing_ = true;
    kind_->setCurrentIndex(static_cast<int>(style.kind));
    labels_->setChecked(style.labels);
    show_number();
    writing_ = false;
}

void IsoForm::show_number() {
    const bool step = style_.kind == IsoStyle::Kind::step;
    if (step)
        number_->set_range(std::numeric_limits<double>::min(), std::numeric_limits<double>::max());
    else
        number_->set_range(1, most_iso_levels);
    // A line that already reads as this number is being typed in.
    const double number = step ? style_.step : style_.number;
    if (number_->number() != number) number_->set_number(number);
    number_->setEnabled(style_.kind != IsoStyle::Kind::none);
    labels_->setEnabled(style_.kind != IsoStyle::Kind::none);
}

void IsoForm::choose_kind() {
    if (writing_) return;
    style_.kind = static_cast<IsoStyle::Kind>(kind_->currentIndex());
    writing_ = true;
    show_number();
    writing_ = false;
    Q_EMIT style_chosen(style_);
}

void IsoForm::read_fields() {
    if (writing_) return;
    style_.labels = labels_->isChecked();
    if (const auto number = number_->number())
        (style_.kind == IsoStyle::Kind::step ? style_.step : style_.number) = *number;
    Q_EMIT style_chosen(style_);
}

}  // namespace vyn
