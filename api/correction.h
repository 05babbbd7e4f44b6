#pragma once

#include "api/image.h"
#include "api/lens.h"
#include "core/progress.h"

namespace vyn {

/// Dark and flat steps of the correction, in one pass from the source into a new image whose region
/// plane is all 1: exclude below the dark level (when above 0), subtract the dark image, exclude
/// what became negative, divide by the flat field. `dark` and `flat` may be null. The result is bit
/// for bit that of the separate operations of api/pixel_ops.h. Raises IndexError when sizes differ.
image correct_intensity(const image& source, float dark_level, const image* dark, const image* flat,
                        Progress& progress);

/// The image as an ideal lens would have seen it, sampled with B-splines of the image's degree;
/// mask and region bytes are those of the source pixel at the position truncated toward zero,
/// excluded and outside beyond the image. Moves the markers. Unchanged copy when the lens has no
/// distortion.
image undistort(const image& source, const Distortion& lens, Progress& progress);

}  // namespace vyn
