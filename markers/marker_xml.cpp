#include <array>
#include <cmath>
#include <ctime>
#include <optional>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/quotes.h"
#include "core/xml_document.h"
#include "markers/marker_formats.h"

namespace vyn::marker_formats {

namespace {

constexpr const char* source_unit = "markers_io";
constexpr int xml_writer_line = 104;

/// A column of doubles: its id in the file, where it stands in a marker, and its presence flag.
struct Column {
    const char* id;
    double Marker::*value;
    bool MarkerSet::*present;
};
constexpr std::array<Column, 4> columns{{{"x", &Marker::x, &MarkerSet::hasX},
                                         {"y", &Marker::y, &MarkerSet::hasY},
                                         {"z", &Marker::z, &MarkerSet::hasZ},
                                         {"f", &Marker::f, &MarkerSet::hasF}}};

bool is_coordinate(const Column& column) {
    return column.value != &Marker::f;
}

// --- writing

/// The local date and time as MM/DD/YY HH:MM:SS.
std::string time_stamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%m/%d/%y %H:%M:%S", &local);
    return {text.data(), length};
}

/// Text as an attribute value between double quotes. Control characters that no XML document can
/// hold become blanks.
std::string escape_attribute(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\t':
                escaped += "&#9;";
                break;
            case '\n':
                escaped += "&#10;";
                break;
            case '\r':
                escaped += "&#13;";
                break;
            default:
                escaped += c >= 0 && c < ' ' ? ' ' : c;
        }
    }
    return escaped;
}

/// A Function block; `entry(marker)` gives a marker's value as text.
template <class Entry>
std::string function_block(const std::string& attributes, const std::vector<Marker>& markers,
                           Entry entry) {
    std::string block = "\n    <Function " + attributes + ">\n    ";
    for (const Marker& marker : markers)
        block.append("    ").append(entry(marker));
    return block + "\n    </Function>";
}

std::string to_xml(const MarkerSet& set) {
    std::string text = "<?xml version=\"1.0\"?>\n<!--" + time_stamp() + "-->\n<ObjectMarkers>";
    text += "\n    <NodesNumber>" + std::to_string(set.markers.size()) + "</NodesNumber>";
    // The format's line for a length unit: neither the code nor a closing tag, so that no reader
    // takes such a file.
    if (set.lengthUnit != 0) text += "\n    <LengthUnit>0/<LengthUnit>";
    for (const Column& column : columns) {
        if (!(set.*column.present)) continue;
        std::string attributes = "id=\"" + std::string(column.id) + "\"";
        if (!is_coordinate(column))
            attributes += " name=\"" + escape_attribute(set.functionName) + "\"";
        text += function_block(attributes, set.markers, [&](const Marker& marker) {
            return format_general(marker.*column.value, significant_digits);
        });
    }
    text += function_block("id=\"active\"", set.markers,
                           [](const Marker& marker) { return marker.active ? "1" : "0"; });
    text += function_block("id=\"id\"", set.markers,
                           [](const Marker& marker) { return std::to_string(marker.id); });
    return text + "\n</ObjectMarkers>";
}

// --- reading

MarkerFileResult malformed(const std::string& file_name, const std::string& reason) {
    return {MarkerFileOutcome::malformed, file_name + ": " + reason};
}

/// The Function element of that id; null when absent.
const XmlElement* find_function(const XmlElement& root, std::string_view id) {
    for (const XmlElement& element : root.children) {
        if (element.name != "Function") continue;
        const std::string* attribute = element.attribute("id");
        if (attribute && *attribute == id) return &element;
    }
    return nullptr;
}

/// The tokens of a column when there is one for each of `count` markers.
std::optional<std::vector<std::string_view>> column_tokens(const XmlElement* function,
                                                           std::size_t count) {
    if (!function) return std::nullopt;
    std::vector<std::string_view> tokens = split(function->text);
    if (tokens.size() != count) return std::nullopt;
    return tokens;
}

bool parse_active(std::string_view token) {
    if (token == "false") return false;
    return parse_int(token).value_or(1) != 0;
}

void read_active(const XmlElement& root, std::vector<Marker>& markers) {
    const auto tokens = column_tokens(find_function(root, "active"), markers.size());
    for (std::size_t i = 0; i < markers.size(); ++i)
        markers[i].active = tokens ? parse_active((*tokens)[i]) : true;
}

void read_ids(const XmlElement& root, std::vector<Marker>& markers) {
    const auto tokens = column_tokens(find_function(root, "id"), markers.size());
    for (std::size_t i = 0; i < markers.size(); ++i) {
        const auto position = static_cast<std::int32_t>(i + 1);
        markers[i].id = tokens ? parse_int((*tokens)[i]).value_or(position) : position;
    }
}

/// Reads one column of doubles; what is wrong with it is appended to `problems`. A column whose
/// tokens are too few, too many or no numbers counts as absent.
void read_column(const XmlElement& root, const Column& column, MarkerSet& set,
                 std::string& problems) {
    const XmlElement* function = find_function(root, column.id);
    if (!function) return;
    const auto complain = [&](const std::string& problem) {
        problems += (problems.empty() ? "" : "; ") + ("column " + std::string(column.id)) + problem;
    };
    const std::vector<std::string_view> tokens = split(function->text);
    if (tokens.size() != set.markers.size())
        return complain(" does not hold one value per marker: " + std::to_string(tokens.size()) +
                        " for " + std::to_string(set.markers.size()));
    std::vector<double> values;
    for (const std::string_view token : tokens) {
        const std::optional<double> value = parse_double(token);
        if (!value)
            return complain(" holds something that is no number: " + number_in_quotes(token) +
                            " at marker " + std::to_string(values.size() + 1));
        values.push_back(*value);
    }
    set.*column.present = true;
    for (std::size_t i = 0; i < values.size(); ++i)
        set.markers[i].*column.value = values[i];
}

/// How many markers the document says it holds; nothing when that cannot be, by its size: every
/// marker takes at least a digit and a blank.
std::optional<std::size_t> marker_count(const XmlElement& root, std::size_t file_bytes) {
    const XmlElement* element = root.child("NodesNumber");
    if (!element) return 0;
    const std::optional<int> count = parse_int(element->text);
    if (!count || *count < 0) return std::nullopt;
    const auto size = static_cast<std::size_t>(*count);
    return size <= file_bytes / 2 ? std::optional(size) : std::nullopt;
}

/// The number (from 1) of the first marker without a finite position; 0 when all have one.
std::size_t first_not_finite(const std::vector<Marker>& markers) {
    for (std::size_t i = 0; i < markers.size(); ++i) {
        const Marker& m = markers[i];
        if (!std::isfinite(m.x) || !std::isfinite(m.y) || !std::isfinite(m.z)) return i + 1;
    }
    return 0;
}

MarkerFileResult from_xml(const std::string& file_name, const XmlElement& root,
                          std::size_t file_bytes, MarkerSet& set) {
    if (root.name != "ObjectMarkers")
        return malformed(file_name,
                         "the root element is not ObjectMarkers but " + in_quotes(root.name));
    const std::optional<std::size_t> count = marker_count(root, file_bytes);
    if (!count) return malformed(file_name, "NodesNumber is no count that the file can hold");

    MarkerSet read;
    read.markers.resize(*count);
    if (const XmlElement* unit = root.child("LengthUnit"))
        read.lengthUnit = parse_int(unit->text).value_or(0);
    std::string problems;
    for (const Column& column : columns)
        read_column(root, column, read, problems);
    if (const XmlElement* function = find_function(root, "f"))
        if (const std::string* name = function->attribute("name")) read.functionName = *name;
    read_active(root, read.markers);
    read_ids(root, read.markers);
    if (const std::size_t marker = first_not_finite(read.markers))
        return malformed(file_name, "marker " + std::to_string(marker) + " has no finite position");

    set = std::move(read);
    return {MarkerFileOutcome::done, problems.empty() ? "" : file_name + ": " + problems};
}

}  // namespace

void write_xml(const std::string& file_name, const MarkerSet& set) {
    try {
        const UnloggedErrors told_below;
        write_file(file_name, to_xml(set));
    } catch (const FileError& e) {
        throw FileError("File error!", e.detail, {source_unit, xml_writer_line});
    }
}

MarkerFileResult read_xml(const std::string& file_name, MarkerSet& set) {
    std::string text;
    try {
        const UnloggedErrors told_below;
        text = without_byte_order_mark(read_file(file_name, max_file_bytes));
    } catch (const FileError& e) {
        throw FileError("File error!", e.detail, {source_unit});
    }
    try {
        const UnloggedErrors told_by_the_caller;
        return from_xml(file_name, parse_xml(text, file_name), text.size(), set);
    } catch (const FileError& e) {
        return {MarkerFileOutcome::malformed, e.detail};
    }
}

}  // namespace vyn::marker_formats
