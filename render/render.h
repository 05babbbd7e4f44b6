#pragma once

#include <cstddef>
#include <cstdint>

#include "render/colour_map.h"
#include "render/view_source.h"

namespace vyn {

/// The part of an image that a rectangle of screen pixels shows. Image positions have pixel centres
/// at whole coordinates; the centre of screen pixel (i, j) is the image position
/// (x + (i + 0.5) / zoom, y + (j + 0.5) / zoom).
struct ViewRectangle {
    double x = -0.5;  ///< image position of the upper left corner
    double y = -0.5;
    double zoom = 1;  ///< screen pixels per image pixel
    int width = 0;    ///< in screen pixels
    int height = 0;
};

/// Rows of 32-bit pixels 0xAARRGGBB in memory of the caller.
struct PixelBuffer {
    std::uint32_t* pixels = nullptr;
    std::ptrdiff_t stride = 0;  ///< pixels from row to row
};

/// Draws the rectangle: each screen pixel gets the colour of the image pixel under its centre, or,
/// when the image is shown smaller, of the pixel of the reduced level that suits the zoom. All
/// pixels are opaque. Uses all cores; the same bits with any number of them.
void render(const ViewSource& source, const colour_map& colours, const ViewRectangle& rectangle,
            PixelBuffer out);

}  // namespace vyn
