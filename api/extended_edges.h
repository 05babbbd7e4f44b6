#pragma once

#include <cstddef>

#include "api/bitmap.h"
#include "core/progress.h"

namespace vyn {

/// Rows of a plane that is written.
struct FloatRows {
    float* first;
    std::ptrdiff_t stride;
    float* row(int y) const { return first + y * stride; }
};

/// Copies the values of the usable pixels (mask byte 0, finite) to `out` and continues them into
/// the others, ring by ring up to `reach` (1 to 254) pixels away from the nearest usable one; what
/// lies farther becomes 0.
///
/// Usable pixels up to three inside the border count as unusable where they depart from what the
/// pixels behind them lead to by far more than their bend and noise explain, or lie behind such a
/// half-lit pixel of a blurred outline: they would ring.
///
/// A pixel of a ring is the mean over its known neighbours, diagonal ones with half the weight;
/// each is carried on by the mean slope of the three pixels behind it, unless there are no such
/// pixels or the neighbour opposite is known, too. The slope fades with the rings, so that noise
/// grows no faster than the distance. (A front that moves outward with values and slopes: Telea,
/// J. Graphics Tools 9 (2004) 23-34.)
///
/// `out` has the size of `values`; its rows are writable up to the next multiple of 16 pixels.
/// Raises DimError when the planes differ in size.
void extend_edges(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask, int reach,
                  FloatRows out, Progress& progress);

}  // namespace vyn
