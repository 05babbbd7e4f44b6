#include <algorithm>
#include <cmath>
#include <optional>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/quotes.h"
#include "markers/marker_formats.h"

namespace vyn::marker_formats {

namespace {

constexpr const char* source_unit = "markersImport";
constexpr int text_2d_line = 50;
constexpr int text_writer_line = 78;
constexpr int text_3d_line = 87;

std::string read_whole(const std::string& file_name, int line) {
    try {
        const UnloggedErrors told_below;
        return without_byte_order_mark(read_file(file_name, max_file_bytes));
    } catch (const FileError& e) {
        throw FileError("File error!", e.detail, {source_unit, line});
    }
}

/// Where a marker begins in the text, from 1.
std::size_t line_of(const std::string& text, std::string_view token) {
    return 1 + static_cast<std::size_t>(std::count(text.data(), token.data(), '\n'));
}

/// A coordinate as formatted extraction takes it: "nan" and "inf" are no numbers.
std::optional<double> parse_coordinate(std::string_view token) {
    const std::optional<double> value = parse_double(token);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<Marker> parse_2d(const std::string_view* token) {
    const auto x = parse_coordinate(token[0]);
    const auto y = parse_coordinate(token[1]);
    const auto active = parse_int(token[4]);
    if (!x || !y || !parse_int(token[2]) || !parse_int(token[3]) || !active) return std::nullopt;
    Marker marker;
    marker.x = *x;
    marker.y = *y;
    marker.active = *active != 0;
    return marker;
}

std::optional<Marker> parse_3d(const std::string_view* token) {
    const auto x = parse_coordinate(token[0]);
    const auto y = parse_coordinate(token[1]);
    const auto z = parse_coordinate(token[2]);
    if (!x || !y || !z) return std::nullopt;
    Marker marker;
    marker.x = *x;
    marker.y = *y;
    marker.z = *z;
    return marker;
}

/// One marker per `fields` tokens, until one does not parse or the text ends.
template <class Parse>
MarkerFileResult parse_markers(const std::string& file_name, const std::string& text,
                               std::size_t fields, Parse parse, std::vector<Marker>& markers) {
    const std::vector<std::string_view> tokens = split(text);
    markers.clear();
    markers.reserve(tokens.size() / fields);
    std::size_t next = 0;
    for (; next + fields <= tokens.size(); next += fields) {
        std::optional<Marker> marker = parse(&tokens[next]);
        if (!marker) break;
        marker->id = static_cast<std::int32_t>(markers.size() + 1);
        markers.push_back(*marker);
    }
    MarkerFileResult result;
    if (markers.empty()) result.outcome = MarkerFileOutcome::no_markers;
    if (next == tokens.size() && !markers.empty()) return result;
    result.detail = file_name + ": marker " + std::to_string(markers.size() + 1);
    if (next == tokens.size()) {
        result.detail += " is missing, there is none";
        return result;
    }
    result.detail += " (line " + std::to_string(line_of(text, tokens[next])) +
                     ") is incomplete or not a number; reading stopped there";
    const auto end =
        tokens.begin() + static_cast<std::ptrdiff_t>(std::min(next + fields, tokens.size()));
    for (auto token = tokens.begin() + static_cast<std::ptrdiff_t>(next); token != end; ++token)
        if (!parse_coordinate(*token)) {
            result.detail += ": " + number_in_quotes(*token);
            break;
        }
    return result;
}

}  // namespace

std::string without_byte_order_mark(std::string text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    return text;
}

std::vector<std::string_view> split(std::string_view text) {
    constexpr std::string_view white_space = " \t\n\v\f\r";
    std::vector<std::string_view> parts;
    std::size_t begin = text.find_first_not_of(white_space);
    while (begin != std::string_view::npos) {
        const std::size_t end = text.find_first_of(white_space, begin);
        parts.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(white_space, end);
    }
    return parts;
}

void write_text(const std::string& file_name, const MarkerSet& set) {
    std::string text;
    for (const Marker& marker : set.markers) {
        text += format_general(marker.x, significant_digits) + "  " +
                format_general(marker.y, significant_digits) + "  0  0  " +
                (marker.active ? "1\n" : "0\n");
    }
    try {
        const UnloggedErrors told_below;
        write_file(file_name, text);
    } catch (const FileError& e) {
        throw FileError("File error!", e.detail, {source_unit, text_writer_line});
    }
}

MarkerFileResult read_text_2d(const std::string& file_name, MarkerSet& set, RowOrigin origin,
                              int image_height) {
    const std::string text = read_whole(file_name, text_2d_line);
    MarkerSet read;
    read.hasX = read.hasY = true;
    MarkerFileResult result = parse_markers(file_name, text, 5, parse_2d, read.markers);
    if (origin == RowOrigin::bottom)
        for (Marker& marker : read.markers)
            marker.y = image_height - marker.y - 1.0;
    set = std::move(read);
    return result;
}

MarkerFileResult read_text_3d(const std::string& file_name, MarkerSet& set) {
    const std::string text = read_whole(file_name, text_3d_line);
    MarkerSet read;
    read.hasX = read.hasY = read.hasZ = true;
    MarkerFileResult result = parse_markers(file_name, text, 3, parse_3d, read.markers);
    set = std::move(read);
    return result;
}

}  // namespace vyn::marker_formats
