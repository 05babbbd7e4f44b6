#include "core/ui/number_edit.h"

#include <cmath>
#include <string>

#include "core/numbers.h"

namespace vyn {

namespace {

constexpr double most_plain = 1e15;

}  // namespace

NumberEdit::NumberEdit(QWidget* parent) : QLineEdit(parent) {
    setAlignment(Qt::AlignRight);
    connect(this, &QLineEdit::textChanged, this, [this] { check(); });
}

void NumberEdit::set_range(double low, double high) {
    low_ = low;
    high_ = high;
    check();
}

void NumberEdit::set_number(double number) {
    // Whole numbers as people write them: 1000000, not 1e+06.
    const bool plain = std::abs(number) < most_plain && number == std::floor(number);
    setText(QString::fromStdString(plain ? format_fixed(number, 0) : format_double(number)));
}

std::optional<double> NumberEdit::number() const {
    std::string typed = text().trimmed().toStdString();
    for (char& c : typed)
        if (c == ',') c = '.';
    const std::optional<double> value = parse_double(typed);
    if (!value || !std::isfinite(*value) || *value < low_ || *value > high_) return std::nullopt;
    if (kind_ == Kind::whole && *value != std::floor(*value)) return std::nullopt;
    return value;
}

bool NumberEdit::check() {
    const bool good = number().has_value();
    if (good == !marked_) {
        if (marked_) setToolTip(complaint());
        return good;
    }
    if (!good) tip_ = toolTip();
    marked_ = !good;
    setStyleSheet(good ? QString() : QStringLiteral("QLineEdit { border: 2px solid #c62828; }"));
    setToolTip(good ? tip_ : complaint());
    return good;
}

QString NumberEdit::complaint() const {
    const QString what = kind_ == Kind::whole ? tr("a whole number") : tr("a number");
    if (low_ == -std::numeric_limits<double>::max() && high_ == std::numeric_limits<double>::max())
        return tr("Please enter %1.").arg(what);
    return tr("Please enter %1 from %2 to %3.").arg(what).arg(low_).arg(high_);
}

}  // namespace vyn
