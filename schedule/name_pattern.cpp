#include "schedule/name_pattern.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "core/numbers.h"
#include "core/quotes.h"

namespace vyn {

namespace {

[[noreturn]] void refuse_pattern(const std::string& why) {
    throw AlgoError("Algorithm error!", why);
}

/// [0][width][.decimals][d|f|g|s]
struct Format {
    bool zeros = false;
    std::size_t width = 0;
    int decimals = -1;
    char kind = 's';
};

Format parse_format(const std::string& text) {
    const auto wrong = [&] { refuse_pattern("the format " + in_quotes(text) + " is not known"); };
    constexpr std::size_t longest = 6;  // "012.15g" would be an odd name already
    if (text.empty() || text.size() > longest) wrong();
    Format format;
    std::size_t at = 0;
    const auto is_digit = [&] { return at < text.size() && text[at] >= '0' && text[at] <= '9'; };
    const auto number = [&] {
        int value = 0;
        while (is_digit())
            value = 10 * value + (text[at++] - '0');
        return value;
    };
    if (text[at] == '0') {
        format.zeros = true;
        ++at;
    }
    format.width = static_cast<std::size_t>(std::min(number(), 99));
    if (at < text.size() && text[at] == '.') {
        ++at;
        if (!is_digit()) wrong();
        format.decimals = std::min(number(), 17);
    }
    if (at < text.size()) format.kind = text[at++];
    const bool known = std::string_view("dfgs").find(format.kind) != std::string_view::npos;
    if (at != text.size() || !known) wrong();
    return format;
}

std::string formatted(const std::string& value, const std::string& format_text,
                      const std::string& name) {
    const Format format = parse_format(format_text);
    std::string text = value;
    if (format.kind != 's') {
        const std::optional<double> number = parse_double(value);
        if (!number || !std::isfinite(*number))
            refuse_pattern(name + " is " + number_in_quotes(value) + ", which {" + name + ":" +
                           format_text + "} cannot write as a number");
        if (format.kind == 'd' && *number != std::round(*number))
            refuse_pattern(name + " is " + value + ", which is no whole number for {" + name + ":" +
                           format_text + "}");
        const int decimals = format.decimals < 0 ? 6 : format.decimals;
        text = format.kind == 'g' ? format_general(*number, std::max(1, decimals))
                                  : format_fixed(*number, format.kind == 'd' ? 0 : decimals);
    }
    if (text.size() < format.width) {
        const bool sign = format.zeros && (text.starts_with('-') || text.starts_with('+'));
        text.insert(sign ? 1 : 0, format.width - text.size(), format.zeros ? '0' : ' ');
    }
    return text;
}

}  // namespace

std::string expand_pattern(
    const std::string& pattern,
    const std::function<std::optional<std::string>(const std::string& name)>& value_of) {
    std::string text;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if (c != '{' && c != '}') {
            text += c;
            continue;
        }
        if (i + 1 < pattern.size() && pattern[i + 1] == c) {
            text += c;
            ++i;
            continue;
        }
        const std::size_t end = pattern.find('}', i);
        if (c == '}' || end == std::string::npos)
            refuse_pattern("a brace of " + in_quotes(pattern) + " has no partner");
        const std::string inside = pattern.substr(i + 1, end - i - 1);
        const std::size_t colon = inside.find(':');
        const std::string name = inside.substr(0, colon);
        const std::optional<std::string> value = value_of(name);
        if (!value)
            refuse_pattern("{" + name + "} in " + in_quotes(pattern) +
                           " is neither column nor setting");
        if (value->empty())
            refuse_pattern("{" + name + "} in " + in_quotes(pattern) + " is empty here");
        text +=
            colon == std::string::npos ? *value : formatted(*value, inside.substr(colon + 1), name);
        i = end;
    }
    return text;
}

void add_pattern_names(const std::string& pattern, std::set<std::string>& names) {
    for (std::size_t at = pattern.find('{'); at != std::string::npos;
         at = pattern.find('{', at + 1)) {
        if (at + 1 < pattern.size() && pattern[at + 1] == '{') {
            ++at;
            continue;
        }
        const std::size_t end = pattern.find_first_of(":}", at);
        if (end == std::string::npos) return;
        names.insert(pattern.substr(at + 1, end - at - 1));
    }
}

}  // namespace vyn
