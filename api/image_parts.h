#pragma once

#include "api/image.h"

namespace vyn {

/// An image of these planes, without region plane, with everything of `source` that is not a plane
/// of its pixels: names, degree, edges, markers, displacement, full scale and where it saturated.
image with_planes(const image& source, Bitmap<float> values, Bitmap<std::uint8_t> mask);

/// Raises AlgoError or DimError unless values, mask and, where there is one, region plane exist and
/// have one size.
void check_all_planes(const image& picture);

/// Raises IndexError unless both images have the same width and height.
void check_same_size(const image& a, const image& b);

/// A row of the region plane; null when the image has none, which means inside everywhere.
inline const std::uint8_t* region_row(const image& picture, int y) {
    return picture.has_region() ? picture.region().row(y) : nullptr;
}

}  // namespace vyn
