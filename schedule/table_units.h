#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vyn {

/// What a unit measures, as far as settings of the test conditions know.
enum class Dimension { none, pressure, temperature, angle };

/// Of a setting, by its path.
Dimension dimension_of(std::string_view setting);

/// True for the name of a unit as tables of wind tunnels write it: those of the paint's
/// calibrations, kPa, hPa, mbar, MPa, °C, deg, rad and "-", in any case.
bool is_unit_name(std::string_view text);

/// A number of one unit in another one of the same dimension; nothing when one of them is unknown
/// or of another dimension. Raises nothing.
std::optional<double> convert_table_unit(double value, Dimension dimension, const std::string& from,
                                         const std::string& to);

}  // namespace vyn
