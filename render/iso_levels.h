#pragma once

#include <vector>

#include "render/limits.h"

namespace vyn {

inline constexpr int most_iso_levels = 200;

/// So many levels (up to `most_iso_levels`) between the limits, at equal distances from each other
/// and from the limits.
std::vector<double> iso_levels(const Limits& limits, int count);

/// The multiples of a step within the limits; none for a step that is no positive number or gives
/// more than `most_iso_levels`.
std::vector<double> iso_levels_by_step(const Limits& limits, double step);

}  // namespace vyn
