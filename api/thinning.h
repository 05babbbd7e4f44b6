#pragma once

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// Erosion of the valid pixels: those with an excluded pixel within `depth` columns and rows
/// (chessboard distance) become excluded. What lies beyond the image does not count as excluded, so
/// that a model that fills the picture loses nothing at its border. Pixels outside the region plane
/// stay as they are. The cost does not depend on the depth; 0 or less: nothing happens. Raises
/// AlgoError and DimError as operations on pixels do; told to stop, it leaves the image as it was.
void thin(image& picture, int depth, Progress& progress);

}  // namespace vyn
