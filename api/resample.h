#pragma once

#include <functional>

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// Fills source positions of the output pixels (x0 .. x0 + n - 1, y); called from several threads.
using RowMap = std::function<void(int x0, int n, int y, double* source_x, double* source_y)>;

/// An image whose pixel (x, y) is the source at map(x, y), interpolated with B-splines of the
/// source's degree and edges. Mask and region bytes are copied from the source pixel at the
/// position truncated toward zero; where that lies outside the source, or the position is not
/// finite, the mask is 1 and the region 0. The result has a region plane where the source has one.
/// Size as given; names, degree, edges, markers and full scale as in the source. Raises AlgoError
/// for a missing plane or a degree outside 2 to 5.
image resample(const image& source, int width, int height, const RowMap& map, Progress& progress);

}  // namespace vyn
