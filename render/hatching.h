#pragma once

#include <memory>
#include <vector>

#include "api/image.h"
#include "render/canvas.h"
#include "render/render.h"

namespace vyn {

/// Marks the pixels of an image whose standard deviation is above a limit.
struct Hatching {
    std::shared_ptr<const image> sigma;  ///< of the size of the image; null: nothing is hatched
    double limit = 0;                    ///< in the unit of `sigma`; 0: nothing is hatched

    bool shown() const { return sigma && limit > 0; }
};

/// Diagonal lines over these pixels, `distance` screen pixels apart along a row, from the upper
/// left corner of the rectangle's first screen pixel on. A screen pixel belongs to the image pixel
/// under its centre; excluded ones are not hatched.
std::vector<Stroke> hatch_strokes(const Hatching& hatching, const ViewRectangle& rectangle,
                                  int distance);

/// Dark lines beside bright ones, which are seen on every colour, for a field of this size whose
/// frame has letters of this height.
struct HatchDrawing {
    std::vector<Stroke> strokes;
    double pen = 1;
};
HatchDrawing hatch_drawing(const Hatching& hatching, const ViewRectangle& field, double letters);
void draw_hatching(const HatchDrawing& hatching, Canvas& canvas);

}  // namespace vyn
