#pragma once

#include <string>

#include "render/picture.h"

namespace vyn {

/// A drawn field as a drawing (SVG 1.1) for papers: frame, colour bar, ticks and texts, where the
/// options ask for them, as lines and letters, the field's own pixels as they are. Raises AlgoError
/// when the picture would be too large.
std::string svg_of(const RgbPicture& field, const FrameOptions& options);

}  // namespace vyn
