#pragma once

#include <vector>

#include "align/correlation/masked_plane.h"

namespace vyn {

/// A plane at half its size: pixel (x, y) stands for pixel (2 x, 2 y), smoothed by the binomial
/// 1 4 6 4 1 over the valid pixels; valid where at least half of the weight is.
MaskedPlane half_size(const MaskedPlane& plane, Progress& progress);

/// The plane's smaller copies, each half the size of the one before, as long as the short side
/// holds `least_side` pixels; the first is half the size of the plane.
std::vector<MaskedPlane> smaller_copies(const MaskedPlane& plane, int least_side,
                                        Progress& progress);

}  // namespace vyn
