#pragma once

#include <optional>

#include "align/correlation/correlation_surface.h"
#include "api/image.h"
#include "api/point.h"

namespace vyn {

/// What the search sees of one cell, to choose the cell's size by eye: planes of contrast against
/// the local mean, 0 where nothing is usable, and the correlations.
struct CellView {
    Bitmap<float> cell;     ///< of the wind-off picture
    Bitmap<float> window;   ///< of the wind-on picture, larger by the radius on every side
    Bitmap<float> surface;  ///< correlation by shift, -radius to +radius
    PeakVerdict verdict = PeakVerdict::low;
    CorrelationSurface::Peak peak;
    Point displacement;  ///< of the peak, pixels; of use when the verdict is clear
};

/// Looks for the cell of `side` pixels about `place` (wind-off pixel) in the wind-on picture, at
/// most `radius` pixels from where `guess` (pixels) takes it. Nothing when the cell or its window
/// reaches out of the pictures or less than half of it is usable in either. Raises as
/// image::check_planes.
std::optional<CellView> view_cell(const image& off, const image& on, Point place, Point guess,
                                  int side, int radius);

}  // namespace vyn
