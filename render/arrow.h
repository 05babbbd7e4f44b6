#pragma once

#include <vector>

#include "render/canvas.h"

namespace vyn {

/// Shaft and head of an arrow, pixels of the drawing; nothing for one too short to be seen or so
/// long that it is none.
std::vector<Stroke> arrow(Point from, Point along);

}  // namespace vyn
