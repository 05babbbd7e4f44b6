#pragma once

#include "align/dots/marker_centroid.h"

namespace vyn {

struct ExtremeSearchOptions {
    int size = 5;  ///< marker size s in pixels: the search looks at (2 s + 1)^2 pixels
    DotPolarity polarity = DotPolarity::dark;
    MarkerRefinement refinement = MarkerRefinement::surface;
};

/// A failed search gives back the point that it started from.
struct ExtremeSearch {
    bool found = false;
    Point point;
};

/// The dark or bright dot next to a clicked point: the extreme pixel about it, refined. Fails when
/// that pixel is more than size / 2 (whole pixels) away in x or y. Where nothing stands out, or all
/// is excluded, the clicked pixel takes its place.
ExtremeSearch find_extreme(const image& picture, Point click, const ExtremeSearchOptions& options);

}  // namespace vyn
