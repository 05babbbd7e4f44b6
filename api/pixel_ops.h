#pragma once

#include "api/image.h"

namespace vyn {

/// Pixel operations on whole images. A pixel is valid when its mask byte is 0 and, for two images,
/// that of the second as well. Each works inside the region plane only where the image has one, and
/// on all pixels otherwise. All check before they change anything: AlgoError for a missing plane,
/// DimError when values and mask differ in size, IndexError when two images differ in size.

/// A = A - B for valid pixels (mask 0); all others become excluded (mask 1) and keep their value.
void subtract(image& a, const image& b);
/// A = A * B, likewise.
void multiply(image& a, const image& b);
/// A = A / F, likewise; a pixel where F is exactly 0 becomes excluded and keeps its value.
void divide(image& a, const image& f);

/// Valid pixels below the level become excluded; values stay. NaN is not below.
void exclude_below(image& a, float level);
/// Valid pixels above (below) the level become that level and stay valid.
void clamp_above(image& a, float level);
void clamp_below(image& a, float level);

}  // namespace vyn
