#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vyn {

/// Numbers as text, whatever the locale: a decimal point, no grouping.

/// Shortest text that reads back to the same bits; "inf", "-inf", "nan".
std::string format_double(double value);
/// As printf's %.<digits>g in the C locale.
std::string format_general(double value, int significant_digits);
/// As printf's %.<decimals>f in the C locale.
std::string format_fixed(double value, int decimals);

/// The whole text as a number (surrounding white space and a leading + allowed); nothing when it
/// is not one or does not fit.
std::optional<double> parse_double(std::string_view text);
std::optional<int> parse_int(std::string_view text);

/// The text without leading and trailing white space.
std::string_view trim(std::string_view text);

}  // namespace vyn
