#include "core/numbers.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace vyn {

namespace {

constexpr std::string_view blanks = " \t\r\n\v\f";
constexpr std::size_t longest_whole_part = 310;  ///< digits and sign of the largest double

std::string to_text(double value, std::chars_format format, int precision) {
    precision = std::max(precision, 0);
    std::string text(longest_whole_part + static_cast<std::size_t>(precision) + 10, '\0');
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, format, precision);
    text.resize(static_cast<std::size_t>(end.ptr - text.data()));
    return text;
}

template <class T>
std::optional<T> parse(std::string_view text) {
    text = trim(text);
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    T value{};
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

std::string format_double(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value);
    return {text, end.ptr};
}

std::string format_general(double value, int significant_digits) {
    return to_text(value, std::chars_format::general, significant_digits);
}

std::string format_fixed(double value, int decimals) {
    return to_text(value, std::chars_format::fixed, decimals);
}

std::optional<double> parse_double(std::string_view text) {
    return parse<double>(text);
}

std::optional<int> parse_int(std::string_view text) {
    return parse<int>(text);
}

std::string_view trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace vyn
