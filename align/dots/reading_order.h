#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "api/point.h"

namespace vyn {

/// Indices of the points in reading order: rows from the top, each from left to right. Rows may be
/// tilted by up to about 15 degrees and somewhat bent.
std::vector<std::size_t> reading_order(std::span<const Point> points);

}  // namespace vyn
