#pragma once

#include <optional>

#include "api/image.h"

namespace vyn {

struct Vector2 {
    float u = 0;
    float v = 0;
};
/// Image pixels from one node of the image's displacement to the next: the grid's step, or 1 where
/// the image itself is the grid, as that of a displacement file is. 1 without displacement.
int node_pitch(const image& picture);

/// The displacement at pixel (x, y): that of the nearest grid node, or of the pixel itself when the
/// image is the grid. Nothing without displacement or more than a step outside the grid.
std::optional<Vector2> displacement_at(const image& picture, int x, int y);

}  // namespace vyn
