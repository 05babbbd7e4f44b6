#pragma once

#include <QLineEdit>
#include <limits>
#include <optional>

namespace vyn {

/// A line for one number, written with a decimal point whatever the locale; a comma typed in its
/// place is understood. Text that is no number in the range marks the line and its tool tip says
/// what is wrong.
class NumberEdit : public QLineEdit {
  public:
    explicit NumberEdit(QWidget* parent = nullptr);

    enum class Kind { real, whole };
    void set_kind(Kind kind) { kind_ = kind; }
    /// Both limits are allowed.
    void set_range(double low, double high);
    /// Shows the number with as many digits as it needs to read back the same.
    void set_number(double number);
    /// The number; nothing when the text is none or out of range. An empty text is no number.
    std::optional<double> number() const;

    /// Marks the line or takes the mark off; true when the text is a number in range.
    bool check();

  private:
    QString complaint() const;

    Kind kind_ = Kind::real;
    double low_ = -std::numeric_limits<double>::max();
    double high_ = std::numeric_limits<double>::max();
    QString tip_;
    bool marked_ = false;
};

}  // namespace vyn
