#pragma once

#include <string>
#include <vector>

#include "mesh/sections.h"

namespace vyn {

/// The table of sections as comma-separated values: section and curve by numbers from 1, x, y, z,
/// s, x_c, value, sigma, view, sigma_field. Points that were not seen are left out and end their
/// curve.
std::string section_csv(const std::vector<std::vector<SectionCurve>>& sections);

}  // namespace vyn
