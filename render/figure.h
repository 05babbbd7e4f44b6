#pragma once

#include <functional>

#include "render/rgb_picture.h"

namespace vyn {

class Canvas;

/// A picture as what is drawn: the same comes out as pixels, on a page, or as a drawing.
struct Figure {
    int width = 0;  ///< pixels
    int height = 0;
    /// Draws it, its upper left corner in the canvas's origin. Holds what it needs; may be called
    /// from any thread. Empty: there is no picture.
    std::function<void(Canvas&)> draw;
};

/// The figure's pixels, white where nothing is drawn. Raises AlgoError when it cannot be drawn.
RgbPicture pixels_of(const Figure& figure);

}  // namespace vyn
