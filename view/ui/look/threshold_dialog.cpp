#include "view/ui/look/threshold_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <limits>

#include "core/ui/number_edit.h"

namespace vyn {

namespace {

constexpr double open_end = std::numeric_limits<double>::infinity();

bool sound(NumberEdit& edit) {
    return edit.text().trimmed().isEmpty() || edit.check();
}

}  // namespace

ThresholdDialog::ThresholdDialog(const Limits& proposal, QWidget* parent)
    : QDialog(parent), low_(new NumberEdit(this)), high_(new NumberEdit(this)) {
    setObjectName(QStringLiteral("Threshold"));
    setWindowTitle(tr("Threshold"));
    low_->setObjectName(QStringLiteral("low"));
    low_->setPlaceholderText(tr("no limit"));
    low_->set_number(proposal.minimum);
    high_->setObjectName(QStringLiteral("high"));
    high_->setPlaceholderText(tr("no limit"));
    high_->set_number(proposal.maximum);
    auto* form = new QFormLayout(this);
    form->addRow(tr("&From value"), low_);
    form->addRow(tr("&To value"), high_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &ThresholdDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &ThresholdDialog::reject);
    form->addRow(buttons);
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
