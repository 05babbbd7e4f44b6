#include "core/quotes.h"

#include <algorithm>

#include "core/numbers.h"

namespace vyn {

namespace {

constexpr std::size_t most_quoted = 80;
constexpr std::size_t longest_number = 40;

bool continues_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

}  // namespace

std::string shortened(std::string_view text, std::size_t most_bytes) {
    if (text.size() <= most_bytes) return std::string(text);
    std::size_t end = most_bytes - 3;
    while (end > 0 && continues_character(text[end]))
        --end;
    return std::string(text.substr(0, end)) + "...";
}

std::string in_quotes(std::string_view text) {
    std::string shown = shortened(text, most_quoted);
    for (char& c : shown)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = ' ';
    return '"' + shown + '"';
}

std::string number_in_quotes(std::string_view text) {
    std::string pointed(text.substr(0, longest_number));
    std::ranges::replace(pointed, ',', '.');
    const bool comma = text.find(',') != std::string_view::npos && parse_double(pointed);
    return in_quotes(text) + (comma ? " (write a decimal point, not a comma)" : "");
}

}  // namespace vyn
