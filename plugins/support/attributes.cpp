#include "plugins/support/attributes.h"

#include <algorithm>
#include <limits>

#include <nlohmann/json.hpp>

#include "plugins/support/provenance.h"

namespace vyn::plugins {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t longest_unit = 32;         // bytes
constexpr std::size_t longest_origin = 1 << 14;  // bytes of one item and its value
constexpr std::size_t most_origins = 4096;
constexpr std::size_t longest_description = 4 << 20;

std::string text_of(const Json& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

std::string sound_unit(const std::string& text) {
    if (text.size() > longest_unit) return {};
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x20 && byte < 0x7f) continue;
        // Two bytes of UTF-8 for U+00A0 to U+03FF.
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        const bool letter = byte >= 0xc2 && byte <= 0xcf && next >= 0x80 && next <= 0xbf &&
                            (byte > 0xc2 || next >= 0xa0);
        if (!letter) return {};
        ++i;
    }
    return text;
}

std::optional<double> sound_exposure(double seconds) {
    constexpr double longest = 1e6;
    if (!(seconds > 0 && seconds <= longest)) return std::nullopt;
    return seconds;
}

void add_attributes(Json& object, const ImageAttributes& image) {
    if (image.quantity.known()) object["quantity"] = stored_name(image.quantity);
    if (!image.unit.empty()) object["unit"] = image.unit;
    if (image.exposure) object["exposure"] = *image.exposure;
    if (image.taken)
        object["taken"] = {{"seconds", image.taken->seconds}, {"dated", image.taken->dated}};
    if (!image.origin.empty()) object["origin"] = image.origin;
}

void take_attributes(const Json& object, ImageAttributes& image) {
    image.quantity = quantity_stored_as(text_of(object, "quantity"));
    image.unit = sound_unit(text_of(object, "unit"));
    if (const auto exposure = object.find("exposure");
        exposure != object.end() && exposure->is_number())
        image.exposure = sound_exposure(exposure->get<double>());
    if (const auto taken = object.find("taken"); taken != object.end() && taken->is_object()) {
        const auto seconds = taken->find("seconds");
        const auto dated = taken->find("dated");
        if (seconds != taken->end() && seconds->is_number() && dated != taken->end() &&
            dated->is_boolean())
            image.taken = ClockTime{seconds->get<double>(), dated->get<bool>()};
    }
    const auto origin = object.find("origin");
    if (origin == object.end() || !origin->is_object() || origin->size() > most_origins) return;
    for (const auto& [item, value] : origin->items())
        if (value.is_string() &&
            item.size() + value.get_ref<const std::string&>().size() <= longest_origin)
            image.origin[item] = value.get<std::string>();
}

std::string image_description(const ImageAttributes& image, const std::string& provenance) {
    Json own = Json::object();
    add_attributes(own, image);
    if (own.empty()) return provenance.empty() ? std::string() : ascii_json(provenance);
    Json document = Json::object();
    if (!provenance.empty()) {
        document = Json::parse(ascii_json(provenance));
        if (!document.is_object()) document = {{"provenance", std::move(document)}};
    }
    document.update(own);
    constexpr int one_line = -1;
    constexpr bool ensure_ascii = true;
    return document.dump(one_line, ' ', ensure_ascii, Json::error_handler_t::replace);
}

std::string value_name(const ImageAttributes& image) {
    return image.quantity.known() ? stored_name(image.quantity) : "value";
}

void unmasked_row(const image& picture, int y, std::vector<float>& row) {
    const float* const values = picture.values().row(y);
    row.resize(static_cast<std::size_t>(picture.width()));
    std::transform(values, values + picture.width(), picture.mask().row(y), row.begin(),
                   [](float value, std::uint8_t mask) {
                       return mask ? std::numeric_limits<float>::quiet_NaN() : value;
                   });
}

void take_description(std::string_view text, ImageAttributes& image) {
    if (text.size() > longest_description || !text.starts_with('{')) return;
    constexpr bool allow_exceptions = false;
    const Json document = Json::parse(text, nullptr, allow_exceptions);
    if (document.is_object()) take_attributes(document, image);
}

}  // namespace vyn::plugins
