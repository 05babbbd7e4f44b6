#pragma once

#include <span>
#include <vector>

#include "align/dots/dot_fit.h"

namespace vyn {

/// A place that may be a dot, with what tells.
struct DetectedDot {
    DotFit fit;
    double contrast = 0;  ///< depth over background
    double score = 0;     ///< response of the search; the higher the stronger
    double quality = 0;   ///< 0 to 1, against the others of the picture
};

/// From this quality on there is nothing to doubt.
inline constexpr double sure_quality = 0.7;
/// Below this one nothing speaks for a dot.
inline constexpr double least_quality = 0.15;

/// Rates the candidates of a picture. What each shows by itself: how far it stands above the local
/// noise (Cheezum, Walker & Guilford 2001), how well the model of a dot fits its pixels and how
/// round its rim is (Shortis, Clarke & Short 1994). Then how it resembles the others, since the
/// dots of a model are made alike: candidates whose diameters and contrasts follow each other
/// without a gap are a family (single linkage, Sneath 1957), the one that is seen best, by the
/// signal of a matched filter (Turin 1960), is that of the dots, and the quality of what is unlike
/// its nearest member falls off.
void rate_dots(const image& picture, std::vector<DetectedDot>& dots);

/// The middle of the widest gap between qualities, the ends of the doubtful range counted as two of
/// them. Smaller than every sure one, larger than the hopeless.
double quality_gap(std::span<const DetectedDot> dots);

}  // namespace vyn
