#pragma once

#include "align/correlation/block_equations.h"
#include "align/correlation/vector_validation.h"

namespace vyn {

/// Vectors of the cells of a grid by normalised correlation.
struct CellMatches {
    NodeVectors vectors;        ///< total displacement, pixels
    Bitmap<float> correlation;  ///< at the peak
};

/// Looks for each cell of the wind-off picture in a window of the wind-on picture (seen through
/// `pair.field`) that is larger by `radius` pixels on every side: zero-mean normalised correlation
/// of the contrasts against each picture's own local mean, and the sub-pixel place of its peak.
/// There is no vector where either cell is not half usable, the peak is low, not the only one or at
/// the border of the window.
CellMatches search_cells(const AlignedPair& pair, const NodeGrid& grid, int radius,
                         Progress& progress);

/// Contrast of a plane against its local mean, as in PairComparison, 0 outside the valid pixels;
/// with `margin` pixels of 0 on every side.
Bitmap<float> contrast_plane(const MaskedPlane& plane, int cell, int margin, Progress& progress);

}  // namespace vyn
