#pragma once

#include "render/image_levels.h"
#include "render/limits.h"

namespace vyn {

/// Limits for the difference of two images of one size: even about zero, and wide enough for 99
/// percent of its pixels (taken from reduced images of some 500 pixels a side). 0 to 0 when no
/// pixel is valid in both.
Limits difference_limits(const ImageLevels& a, const ImageLevels& b);

/// The image `a` - `b` itself, without region; background in either is background. Raises DimError
/// for images of two sizes.
std::shared_ptr<const image> difference_of(const image& a, const image& b);

}  // namespace vyn
