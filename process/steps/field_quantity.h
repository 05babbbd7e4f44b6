#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "api/field_conversion.h"
#include "calib/paint_law.h"

namespace vyn {

/// The quantities by their names in the setting "project/processing/convert/field".
inline constexpr std::array<std::pair<FieldQuantity, const char*>, 4> field_quantities{{
    {FieldQuantity::pressure, "Pressure"},
    {FieldQuantity::p_over_static, "P_Pstat"},
    {FieldQuantity::cp, "Cp"},
    {FieldQuantity::ratio, "Irefe_Isens"},
}};

inline const char* field_name(FieldQuantity quantity) {
    for (const auto& [value, name] : field_quantities)
        if (value == quantity) return name;
    return "";
}

inline FieldQuantity field_quantity(std::string_view wanted) {
    for (const auto& [value, name] : field_quantities)
        if (name == wanted) return value;
    return FieldQuantity::kept;
}

/// The rule by its name in the setting "project/processing/convert/wind_off_ratio".
inline WindOffRule wind_off_rule(std::string_view wanted) {
    return wanted == "unity" ? WindOffRule::unity : WindOffRule::law;
}

}  // namespace vyn
