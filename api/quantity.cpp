#include "api/quantity.h"

#include <array>

#include "api/image.h"

namespace vyn {

namespace {

using Kind = Quantity::Kind;

constexpr std::string_view stored_deviation = "standard_deviation_of_";

struct Names {
    Kind kind;
    std::string_view stored;
    const char* label;
    const char* words;
};

constexpr std::array names_of_kinds{
    Names{Kind::value, "value", "value", "value"},
    Names{Kind::raw_counts, "raw_counts", "Intensity", "raw intensity"},
    Names{Kind::flat_field, "flat_field", "Intensity", "flat field"},
    Names{Kind::corrected_intensity, "corrected_intensity", "Intensity", "corrected intensity"},
    Names{Kind::intensity_ratio, "intensity_ratio", "I/Iref", "intensity ratio"},
    Names{Kind::pressure, "pressure", "Pressure", "pressure"},
    Names{Kind::p_over_static, "p_over_static", "P_Pstat", "pressure over static pressure"},
    Names{Kind::cp, "cp", "Cp", "pressure coefficient"},
    Names{Kind::displacement, "displacement", "Displacement", "displacement"},
    Names{Kind::temperature, "temperature", "Temperature", "temperature"},
};

const Names& names_of(Kind kind) {
    for (const Names& names : names_of_kinds)
        if (names.kind == kind) return names;
    return names_of_kinds.front();
}

}  // namespace

std::string stored_name(Quantity quantity) {
    std::string name(names_of(quantity.kind).stored);
    if (quantity.deviation) name.insert(0, stored_deviation);
    return name;
}

Quantity quantity_stored_as(std::string_view name) {
    const bool deviation = name.starts_with(stored_deviation);
    if (deviation) name.remove_prefix(stored_deviation.size());
    for (const Names& names : names_of_kinds)
        if (names.stored == name) return {names.kind, deviation};
    return {};
}

FieldLabel field_label(const image& picture) {
    const Quantity quantity = picture.quantity;
    FieldLabel label{names_of(quantity.kind).label, picture.unit};
    if (quantity.deviation) label.name.insert(0, "SD of ");
    if (label.unit == count_unit) label.unit.clear();
    return label;
}

std::string quantity_words(const image& picture) {
    std::string words = names_of(picture.quantity.kind).words;
    if (picture.quantity.deviation) words.insert(0, "standard deviation of the ");
    if (!picture.unit.empty()) words += " in " + picture.unit;
    return words;
}

}  // namespace vyn
