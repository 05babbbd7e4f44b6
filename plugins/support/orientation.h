#pragma once

#include "api/image.h"

namespace vyn::plugins {

/// Turns and mirrors a picture that was read as it is stored: what the first stored row and the
/// first stored column are in the picture, numbered as in TIFF and Exif (1 = top and left, 2 = top
/// and right, ... 8 = left and bottom). Other numbers leave it.
void orient(image& picture, int orientation);

/// Rows and columns exchanged: the first stored row is the left column.
inline constexpr int transposed = 5;

}  // namespace vyn::plugins
