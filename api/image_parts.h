#pragma once

#include "api/image.h"

namespace vyn {

/// Where the pixels of an image lie that is made from another one.
enum class PixelFrame {
    same,   ///< on the pixels of the source
    other,  ///< elsewhere: moved, undistorted, of another size
};

/// An image like `source` with other planes and without region plane. It keeps the attributes but
/// the source's digest, origin, frames, exposure and time, since these values come from no file and
/// other settings, and in another frame the displacement and where the source saturated; whoever
/// moves pixels moves the markers too. Nothing counts as saved.
image with_planes(const image& source, Bitmap<float> values, Bitmap<std::uint8_t> mask,
                  PixelFrame frame = PixelFrame::same);

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
