#include "plugins/imp/imp_description.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "core/numbers.h"
#include "plugins/support/attributes.h"
#include "plugins/support/provenance.h"

namespace vyn::plugins {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* format_name = "vynlite-imp";
constexpr const char* extended = "extended";
constexpr std::array known_pages{"values", "mask", "region", "u", "v", "saturated", "variance"};

[[noreturn]] void reject(const std::string& reason) {
    throw std::runtime_error(reason);
}

/// JSON has no numbers for infinity and NaN; they are kept as text.
Json from_double(double value) {
    if (std::isfinite(value)) return value;
    return format_double(value);
}

const Json& entry(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) reject(std::string("'") + key + "' is missing");
    return *found;
}

double to_double(const Json& object, const char* key) {
    const Json& value = entry(object, key);
    if (value.is_number()) return value.get<double>();
    if (value.is_string())
        if (const auto number = parse_double(value.get<std::string>())) return *number;
    reject(std::string("'") + key + "' is not a number");
}

std::int32_t to_int(const Json& object, const char* key, std::int32_t least,
                    std::int32_t greatest = std::numeric_limits<std::int32_t>::max()) {
    const double value = to_double(object, key);
    if (!(value >= least && value <= greatest && value == std::floor(value)))
        reject(std::string("'") + key + "' is out of range");
    return static_cast<std::int32_t>(value);
}

Json marker_set_json(const MarkerSet& set) {
    Json list = Json::array();
    for (const Marker& marker : set.markers)
        list.push_back({{"x", from_double(marker.x)},
                        {"y", from_double(marker.y)},
                        {"z", from_double(marker.z)},
                        {"f", from_double(marker.f)},
                        {"active", marker.active},
                        {"id", marker.id}});
    return {{"functionName", set.functionName},
            {"lengthUnit", set.lengthUnit},
            {"hasX", set.hasX},
            {"hasY", set.hasY},
            {"hasZ", set.hasZ},
            {"hasF", set.hasF},
            {"list", std::move(list)}};
}

MarkerSet parse_marker_set(const Json& object) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    MarkerSet set;
    set.functionName = entry(object, "functionName").get<std::string>();
    set.lengthUnit = to_int(object, "lengthUnit", lowest);
    set.hasX = entry(object, "hasX").get<bool>();
    set.hasY = entry(object, "hasY").get<bool>();
    set.hasZ = entry(object, "hasZ").get<bool>();
    set.hasF = entry(object, "hasF").get<bool>();
    for (const Json& item : entry(object, "list"))
        set.markers.push_back({to_double(item, "x"), to_double(item, "y"), to_double(item, "z"),
                               to_double(item, "f"), entry(item, "active").get<bool>(),
                               to_int(item, "id", lowest)});
    return set;
}

std::vector<std::string> parse_pages(const Json& list) {
    auto pages = list.get<std::vector<std::string>>();
    const auto count = [&](const char* page) { return std::ranges::count(pages, page); };
    for (const auto& page : pages)
        if (std::ranges::find(known_pages, page) == known_pages.end() || count(page.c_str()) != 1)
            reject("the page '" + page + "' is unknown or stands twice");
    if (count("values") == 0 || count("mask") == 0)
        reject("the pages 'values' or 'mask' are missing");
    if (count("u") != count("v")) reject("one of the pages 'u' and 'v' is missing");
    return pages;
}

}  // namespace

bool is_imp_description(const std::string& text) {
    return text.find('"' + std::string(format_name) + '"') != std::string::npos;
}

std::string write_description(const ImageAttributes& attributes,
                              const std::vector<std::string>& pages,
                              const std::string& provenance) {
    Json document{{"format", format_name},
                  {"version", imp_version},
                  {"software", software_name()},
                  {"pages", pages},
                  {"name", attributes.name},
                  {"degree", attributes.degree},
                  {"edges", attributes.edges == SplineEdges::extended ? extended : "stored"},
                  {"displacementStep", attributes.displacement ? attributes.displacement->step : 1},
                  {"fullScale", from_double(attributes.full_scale)},
                  {"markers", marker_set_json(attributes.markers)}};
    if (attributes.frames) document["frames"] = attributes.frames->frames;
    add_attributes(document, attributes);
    if (!provenance.empty()) document["provenance"] = Json::parse(ascii_json(provenance));
    constexpr int one_line = -1;
    constexpr bool ensure_ascii = true;
    return document.dump(one_line, ' ', ensure_ascii, Json::error_handler_t::replace);
}

ImpDescription parse_description(const std::string& text) {
    if (!is_imp_description(text)) reject("the description of a field file is missing");
    const Json document = Json::parse(text);
    if (entry(document, "format") != format_name) reject("it is not a field file");
    const int version = to_int(document, "version", 1);
    if (version > imp_version)
        reject("its format version " + std::to_string(version) +
               " is newer than this program can read (" + std::to_string(imp_version) + ")");
    ImpDescription content;
    content.pages = parse_pages(entry(document, "pages"));
    ImageAttributes& attributes = content.attributes;
    attributes.name = entry(document, "name").get<std::string>();
    attributes.degree = to_int(document, "degree", 2, 5);
    // Files written before edges could be extended do not say.
    if (const auto edges = document.find("edges"); edges != document.end() && *edges == extended)
        attributes.edges = SplineEdges::extended;
    content.displacement_step = to_int(document, "displacementStep", 1);
    attributes.full_scale = to_double(document, "fullScale");
    attributes.markers = parse_marker_set(entry(document, "markers"));
    if (document.contains("frames")) content.frames = to_int(document, "frames", 1);
    take_attributes(document, attributes);
    return content;
}

}  // namespace vyn::plugins
