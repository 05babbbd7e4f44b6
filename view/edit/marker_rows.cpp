#include "view/edit/marker_rows.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>

#include "core/ascii.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/quotes.h"

namespace vyn {

namespace {

constexpr int position_decimals = 3;

[[noreturn]] void refuse(const std::string& text, const char* wanted) {
    throw AlgoError("Algorithm error!", number_in_quotes(text) + " is no " + wanted);
}

/// Where cells are told apart already a comma can only be a decimal one.
std::optional<double> parse_cell(std::string text) {
    std::ranges::replace(text, ',', '.');
    return parse_double(text);
}

double number_of(const std::string& text) {
    const auto number = parse_cell(text);
    if (!number || !std::isfinite(*number)) refuse(text, "finite number");
    return *number;
}

bool flag_of(const std::string& text) {
    const std::string word = lower_case(trim(text));
    if (word == "1" || word == "true" || word == "yes") return true;
    if (word == "0" || word == "false" || word == "no" || word.empty()) return false;
    refuse(text, "answer to whether the marker is active: 1 or 0");
}

char separator_of(std::string_view text) {
    for (const char separator : {'\t', ';'})
        if (text.find(separator) != std::string_view::npos) return separator;
    const std::string_view first = text.substr(0, text.find('\n'));
    return std::ranges::count(first, ',') == marker_columns - 1 ? ',' : '\0';
}

bool is_head(const std::vector<std::string>& line) {
    return std::ranges::none_of(
        line, [](const std::string& cell) { return parse_cell(cell).has_value(); });
}

std::int32_t next_number(const MarkerSet& set) {
    std::int32_t largest = 0;
    for (const Marker& marker : set.markers)
        largest = std::max(largest, marker.id);
    return largest + 1;
}

void check_numbers(const MarkerSet& set) {
    std::set<std::int32_t> numbers;
    for (const Marker& marker : set.markers)
        if (!numbers.insert(marker.id).second)
            throw AlgoError("Algorithm error!",
                            "the number " + std::to_string(marker.id) + " would stand twice");
}

}  // namespace

std::vector<std::vector<std::string>> text_cells(std::string_view text) {
    const char separator = separator_of(text);
    std::vector<std::vector<std::string>> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (trim(line).empty()) continue;
        std::vector<std::string>& cells = lines.emplace_back();
        while (true) {
            const std::size_t next = line.find(separator);
            cells.emplace_back(trim(line.substr(0, next)));
            if (next == std::string_view::npos) break;
            line.remove_prefix(next + 1);
        }
    }
    return lines;
}

std::string marker_cell(const Marker& marker, MarkerColumn column) {
    switch (column) {
        case MarkerColumn::number:
            return std::to_string(marker.id);
        case MarkerColumn::x:
            return format_fixed(marker.x, position_decimals);
        case MarkerColumn::y:
            return format_fixed(marker.y, position_decimals);
        case MarkerColumn::value:
            return format_double(marker.f);
        case MarkerColumn::active:
            return marker.active ? "1" : "0";
    }
    return {};
}

Marker with_cell(Marker marker, MarkerColumn column, const std::string& text) {
    switch (column) {
        case MarkerColumn::number: {
            const auto number = parse_int(text);
            if (!number) refuse(text, "whole number");
            marker.id = *number;
            break;
        }
        case MarkerColumn::x:
            marker.x = number_of(text);
            break;
        case MarkerColumn::y:
            marker.y = number_of(text);
            break;
        case MarkerColumn::value:
            marker.f = number_of(text);
            break;
        case MarkerColumn::active:
            marker.active = flag_of(text);
            break;
    }
    return marker;
}

MarkerSet with_cells(MarkerSet set, std::size_t row, MarkerColumn column, std::string_view text) {
    std::vector<std::vector<std::string>> lines = text_cells(text);
    if (lines.size() > 1 && is_head(lines.front())) lines.erase(lines.begin());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::vector<std::string>& cells = lines[i];
        const bool whole = column == MarkerColumn::number && cells.size() == marker_columns;
        std::size_t target = row + i;
        try {
            if (whole) {
                const std::int32_t number = with_cell({}, MarkerColumn::number, cells[0]).id;
                const auto known = std::ranges::find(set.markers, number, &Marker::id);
                target = static_cast<std::size_t>(known - set.markers.begin());
            }
            if (target >= set.markers.size()) {
                target = set.markers.size();
                set.markers.push_back({.id = next_number(set)});
            }
            const auto first = static_cast<std::size_t>(column);
            for (std::size_t k = 0; k < cells.size() && first + k < marker_columns; ++k) {
                set.markers[target] =
                    with_cell(set.markers[target], static_cast<MarkerColumn>(first + k), cells[k]);
                set.hasF = set.hasF || first + k == static_cast<std::size_t>(MarkerColumn::value);
            }
        } catch (const AlgoError& error) {
            throw AlgoError("Algorithm error!",
                            "line " + std::to_string(i + 1) + ": " + error.detail);
        }
    }
    set.hasX = set.hasY = !set.markers.empty();
    check_numbers(set);
    return set;
}

}  // namespace vyn
