#include "view/ui/look/threshold_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QVBoxLayout>
#include <limits>

#include "api/quantity.h"
#include "core/ui/number_edit.h"
#include "render/fashion.h"
#include "view/ui/look/histogram_plot.h"

namespace vyn {

namespace {

constexpr double open_end = std::numeric_limits<double>::infinity();

bool sound(NumberEdit& edit) {
    return edit.text().trimmed().isEmpty() || edit.check();
}

}  // namespace

ThresholdDialog::ThresholdDialog(const Limits& proposal, QWidget* parent)
    : QDialog(parent),
      low_(new NumberEdit(this)),
      high_(new NumberEdit(this)),
      histogram_(new HistogramPlot(this)) {
    setObjectName(QStringLiteral("Threshold"));
    setWindowTitle(tr("Threshold"));
    low_->setObjectName(QStringLiteral("low"));
    low_->setPlaceholderText(tr("no limit"));
    low_->set_number(proposal.minimum);
    high_->setObjectName(QStringLiteral("high"));
    high_->setPlaceholderText(tr("no limit"));
    high_->set_number(proposal.maximum);
    histogram_->setObjectName(QStringLiteral("histogram"));
    auto* column = new QVBoxLayout(this);
    column->addWidget(histogram_, 1);
    auto* form = new QFormLayout;
    form->addRow(tr("&From value"), low_);
    form->addRow(tr("&To value"), high_);
    column->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &ThresholdDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &ThresholdDialog::reject);
    column->addWidget(buttons);
    for (NumberEdit* edit : {low_, high_})
        connect(edit, &QLineEdit::textChanged, this, &ThresholdDialog::read_fields);
    connect(histogram_, &HistogramPlot::limits_dragged, this, [this](const Limits& limits) {
        const Limits chosen = tidy(limits);
        // Of an open end the line waits at the border.
        if (chosen.minimum != low()) low_->set_number(chosen.minimum);
        if (chosen.maximum != high()) high_->set_number(chosen.maximum);
    });
    read_fields();
}

void ThresholdDialog::set_picture(const std::shared_ptr<const image>& picture) {
    preparation_.start(
        Preparation::when_for(*picture),
        [picture](Progress& progress) { return values_of(picture, nullptr, progress); },
        [this](std::future<PictureValues> values) {
            const PictureValues counted = values.get();
            histogram_->set_histogram(counted.histogram,
                                      QString::fromStdString(field_label(*counted.picture).text()));
        });
}

void ThresholdDialog::read_fields() {
    histogram_->set_limits({low(), high()});
    Q_EMIT range_changed();
}

double ThresholdDialog::low() const {
    return low_->number().value_or(-open_end);
}

double ThresholdDialog::high() const {
    return high_->number().value_or(open_end);
}

void ThresholdDialog::accept() {
    const bool good_low = sound(*low_);
    const bool good_high = sound(*high_);
    if (good_low && good_high) QDialog::accept();
}

}  // namespace vyn
