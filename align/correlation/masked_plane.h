#pragma once

#include <cstdint>

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// A plane of finite values with the pixels that may be used.
struct MaskedPlane {
    Bitmap<float> values;
    Bitmap<std::uint8_t> valid;  ///< 1 = may be used; the values of others mean nothing

    int width() const { return values.width(); }
    int height() const { return values.height(); }
};

/// The valid, finite pixels of an image within its region of interest and not below `level`, less a
/// rim of two pixels along all others: a cubic spline between usable pixels reads usable ones only.
/// The other pixels take the mean of the usable ones about them (`tile` as of local_sums), so that
/// nothing rings into the usable ones. Raises as image::check_planes.
MaskedPlane usable_pixels(const image& picture, float level, int tile, Progress& progress);

/// Takes from the set bytes those that lie within `reach` columns and rows of one that is 0.
Bitmap<std::uint8_t> eroded(const Bitmap<std::uint8_t>& bytes, int reach, Progress& progress);

/// Number of set bytes.
std::int64_t count_set(const Bitmap<std::uint8_t>& bytes);

}  // namespace vyn
