#pragma once

#include <vector>

#include "mesh/vec3.h"

namespace vyn {

/// For each point the first one within the tolerance of it.
std::vector<int> equal_places(const std::vector<Vec3>& points, double tolerance);

}  // namespace vyn
