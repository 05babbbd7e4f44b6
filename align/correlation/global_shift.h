#pragma once

#include <optional>

#include "align/correlation/masked_plane.h"
#include "api/point.h"

namespace vyn {

/// The one shift, whole pixels, by which the wind-on plane fits the wind-off plane best: the peak
/// of the masked normalised correlation (Padfield 2012) of their contrasts over all shifts that
/// leave three tenths of the largest overlap. Wind-off pixel (x, y) is seen at (x + shift.x, y +
/// shift.y). Nothing when no peak stands out. `cell` is that of the local mean.
std::optional<Point> global_shift(const MaskedPlane& off, const MaskedPlane& on, int cell,
                                  Progress& progress);

}  // namespace vyn
