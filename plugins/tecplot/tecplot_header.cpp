#include "plugins/tecplot/tecplot_header.h"

#include <algorithm>
#include <optional>

#include "core/ascii.h"
#include "core/numbers.h"

namespace vyn::plugins {

namespace {

std::string upper(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return result;
}

void skip_separators(TextScanner& text) {
    while (!text.at_end() && text.next() == ',')
        text.skip(1);
}

/// A value of the header: in quotation marks, in brackets, or up to white space or a comma.
std::string read_value(TextScanner& text) {
    if (text.at_end()) text.word();  // refuses
    if (text.next() == '"') return read_tecplot_text(text);
    const std::string_view rest = text.rest();
    if (text.next() == '(') {
        int depth = 0;
        for (std::size_t i = 0; i < rest.size(); ++i) {
            depth += (rest[i] == '(') - (rest[i] == ')');
            if (depth > 0) continue;
            text.skip(i + 1);
            return std::string(rest.substr(0, i + 1));
        }
        text.refuse("a bracket is not closed");
    }
    const std::string_view value = rest.substr(0, rest.find_first_of(" \t\r\n,"));
    text.skip(value.size());
    return std::string(value);
}

std::int64_t read_size(TextScanner& text) {
    const auto number = parse_int(read_value(text));
    if (!number || *number < 1) text.refuse("a size is no whole number from 1 up");
    return *number;
}

/// What a list says of each variable, "([4-5,7]=CELLCENTERED)" or "(NODAL, CELLCENTERED)"; nothing
/// for those that it does not name, and an empty text for "([1-3])".
std::vector<std::optional<std::string>> by_variable(const TextScanner& text, const std::string& key,
                                                    const std::string& value) {
    constexpr int most_variables = 10'000;
    std::vector<std::optional<std::string>> said;
    if (value.size() < 2) text.refuse(key + " is no list");
    std::string inner = upper(value.substr(1, value.size() - 2));
    std::erase_if(inner, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
    const auto take = [&](std::size_t& at) {
        const std::size_t end = std::min(inner.find_first_of(",-]=", at), inner.size());
        const auto number = parse_int(std::string_view(inner).substr(at, end - at));
        if (!number || *number < 1 || *number > most_variables)
            text.refuse(key + " names no variable");
        at = end;
        return static_cast<std::size_t>(*number);
    };
    std::size_t position = 0;
    for (std::size_t at = 0; at < inner.size();) {
        std::vector<std::size_t> named;
        if (inner[at] == '[') {
            ++at;
            while (at < inner.size() && inner[at] != ']') {
                const std::size_t first = take(at);
                std::size_t last = first;
                if (at < inner.size() && inner[at] == '-') last = take(++at);
                for (std::size_t v = first; v <= last; ++v)
                    named.push_back(v - 1);
                if (named.size() > most_variables) text.refuse(key + " is too long");
                if (at < inner.size() && inner[at] == ',') ++at;
            }
            at = std::min(at + 1, inner.size());
            if (at < inner.size() && inner[at] == '=') ++at;
        } else {
            if (position >= most_variables) text.refuse(key + " is too long");
            named.push_back(position++);
        }
        const std::size_t end = std::min(inner.find(',', at), inner.size());
        for (const std::size_t v : named) {
            said.resize(std::max(said.size(), v + 1));
            said[v] = inner.substr(at, end - at);
        }
        at = end + 1;
    }
    return said;
}

std::vector<bool> cell_variables(const TextScanner& text, const std::string& value) {
    std::vector<bool> at_cells;
    for (const auto& place : by_variable(text, "VARLOCATION", value))
        at_cells.push_back(place == "CELLCENTERED");
    return at_cells;
}

/// A zone before this one, by its number; without one the zone just before.
std::int64_t earlier_zone(const TextScanner& text, const std::string& key, const std::string& value,
                          std::size_t number) {
    const auto last = static_cast<std::int64_t>(number) - 1;
    const std::int64_t zone = value.empty() ? last : parse_int(value).value_or(0);
    if (zone < 1 || zone > last) text.refuse(key + " names no zone before this one");
    return zone;
}

std::vector<std::int64_t> shared_variables(const TextScanner& text, const std::string& value,
                                           std::size_t number) {
    std::vector<std::int64_t> shared;
    for (const auto& zone : by_variable(text, "VARSHARELIST", value))
        shared.push_back(zone ? earlier_zone(text, "VARSHARELIST", *zone, number) : 0);
    return shared;
}

void set_type(const TextScanner& text, const std::string& value, TecplotZone& zone) {
    using Kind = TecplotZone::Kind;
    const std::string type = upper(value);
    if (type == "ORDERED")
        zone.kind = Kind::ordered;
    else if (type == "FETRIANGLE" || type == "TRIANGLE")
        zone.kind = Kind::triangles;
    else if (type == "FEQUADRILATERAL" || type == "QUADRILATERAL")
        zone.kind = Kind::quadrangles;
    else if (type == "FELINESEG" || type == "LINESEG")
        zone.kind = Kind::lines;
    else
        text.refuse("a zone of type '" + value.substr(0, 40) + "' is no surface");
}

void set_packing(const TextScanner& text, const std::string& value, TecplotZone& zone) {
    const std::string packing = upper(value);
    zone.block = packing == "BLOCK" || packing == "FEBLOCK";
    if (packing.starts_with("FE") && zone.kind == TecplotZone::Kind::ordered)
        zone.kind = TecplotZone::Kind::triangles;
    if (!zone.block && packing != "POINT" && packing != "FEPOINT")
        text.refuse("'" + value.substr(0, 40) + "' is no order of the numbers");
}

}  // namespace

std::string read_tecplot_text(TextScanner& text) {
    text.at_end();
    if (text.next() != '"') return std::string(text.word());
    const std::string_view rest = text.rest().substr(1);
    const std::size_t end = rest.find('"');
    if (end == rest.npos) text.refuse("a quotation mark is missing");
    text.skip(end + 2);
    return std::string(rest.substr(0, end));
}

bool at_tecplot_keyword(TextScanner& text) {
    while (!text.at_end() && text.next() == '#')
        text.line();
    const std::string_view word = text.peek();
    // "nan" is a number, not a keyword.
    return !word.empty() && is_letter(word.front()) && lower_case(word) != "nan";
}

std::string read_tecplot_keyword(TextScanner& text) {
    const std::string_view rest = text.rest();
    const std::string_view word = rest.substr(0, rest.find_first_of("= \t\r\n,"));
    text.skip(word.size());
    if (!text.at_end() && text.next() == '=') text.skip(1);
    return upper(word);
}

std::vector<std::string> read_tecplot_variables(TextScanner& text) {
    constexpr std::size_t most_variables = 1000;
    std::vector<std::string> names;
    for (skip_separators(text); text.next() == '"'; skip_separators(text))
        names.push_back(read_tecplot_text(text));
    if (names.empty()) {  // names without quotation marks: those of the line
        std::string line(text.line());
        std::ranges::replace_if(
            line, [](char c) { return c == ',' || c == '\t'; }, ' ');
        for (std::size_t at = 0; at < line.size();) {
            const std::size_t end = std::min(line.find(' ', at), line.size());
            if (end > at) names.push_back(line.substr(at, end - at));
            at = end + 1;
        }
    }
    if (names.size() < 3 || names.size() > most_variables)
        text.refuse(std::to_string(names.size()) + " variables, x, y and z at least are needed");
    return names;
}

TecplotZone read_tecplot_zone(TextScanner& text, std::size_t number) {
    TecplotZone zone;
    zone.name = "zone " + std::to_string(number);
    for (skip_separators(text); at_tecplot_keyword(text); skip_separators(text)) {
        const std::string key = read_tecplot_keyword(text);
        if (key == "AUXDATA") {
            text.line();
            continue;
        }
        if (key == "I")
            zone.i = read_size(text);
        else if (key == "J")
            zone.j = read_size(text);
        else if (key == "K")
            zone.k = read_size(text);
        else if (key == "N" || key == "NODES")
            zone.nodes = read_size(text);
        else if (key == "E" || key == "ELEMENTS")
            zone.elements = read_size(text);
        else if (const std::string value = read_value(text); key == "T")
            zone.name = value;
        else if (key == "ZONETYPE" || key == "ET")
            set_type(text, value, zone);
        else if (key == "F" || key == "DATAPACKING")
            set_packing(text, value, zone);
        else if (key == "VARLOCATION")
            zone.at_cells = cell_variables(text, value);
        else if (key == "VARSHARELIST")
            zone.shared = shared_variables(text, value, number);
        else if (key == "CONNECTIVITYSHAREZONE")
            zone.shared_elements = earlier_zone(text, key, value, number);
    }
    return zone;
}

}  // namespace vyn::plugins
