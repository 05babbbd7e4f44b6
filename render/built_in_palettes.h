#pragma once

#include <deque>

#include "render/palette.h"

namespace vyn {

/// The rainbow, and palettes made for reading values off: grey; viridis and cividis, whose
/// lightness rises evenly (cividis also for colour-blind eyes); and "Cp", blue over white to red,
/// for quantities with a sign when its limits lie evenly about zero.
std::deque<palette_array> built_in_palettes();

}  // namespace vyn
