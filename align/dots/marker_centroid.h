#pragma once

#include <cstdint>
#include <vector>

#include "align/dots/dot_fit.h"
#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// Moves a marker (column, row) to the extremum of the quadratic surface through the box of `size`
/// pixels about it. False, with the point unchanged and the reason in the log, when there is no
/// such surface, it is a saddle or flat, or its extremum is more than `size` pixels away.
bool Precise_centroid(const image& picture, Point& point, int size);

enum class MarkerRefinement {
    surface = 0,  ///< Precise_centroid: extremum of a quadratic surface
    dot = 1,      ///< fit_dot: a round dot with a soft rim
};

/// Refines a marker inside a box of `size` pixels by one of the two ways; the polarity matters to
/// `dot` only, which needs a box about twice as wide as the dot. False, with the point unchanged,
/// when that fails.
bool refine_marker(const image& picture, Point& point, int size, DotPolarity polarity,
                   MarkerRefinement refinement);

/// The same for every active marker; gives the numbers of those that stayed where they were. Raises
/// Aborted when told to stop.
std::vector<std::int32_t> refine_markers(const image& picture, MarkerSet& set, int size,
                                         DotPolarity polarity, MarkerRefinement refinement,
                                         Progress& progress);

}  // namespace vyn
