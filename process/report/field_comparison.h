#pragma once

#include <cstdint>
#include <vector>

#include "api/image.h"
#include "api/point.h"
#include "core/progress.h"

namespace vyn {

struct ComparisonOptions {
    int edge = 0;             ///< pixels this near (chessboard) to excluded ones are left out
    std::vector<Point> dots;  ///< positions whose surroundings are left out
    double dot_distance = 0;  ///< pixels this near (Euclidean) to a dot are left out
};

/// How a field differs from the truth; errors are field - truth over the compared pixels.
struct FieldComparison {
    std::int64_t count = 0;  ///< compared pixels
    double rms_error = 0;
    double mean_error = 0;
    double max_error = 0;  ///< largest absolute error
    int max_x = 0;         ///< where that is
    int max_y = 0;
    double truth_min = 0;
    double truth_max = 0;

    double truth_range() const { return truth_max - truth_min; }
};

/// Compares the pixels that are valid in both images and farther than `edge` from every pixel that
/// is excluded in either (outside the picture counts as excluded), so that edge = 1 leaves out the
/// neighbours of excluded pixels too, and farther than `dot_distance` from every dot. Raises
/// IndexError when the sizes differ and AlgoError when no pixel is left. The cost does not depend
/// on `edge`.
FieldComparison compare_fields(const image& field, const image& truth,
                               const ComparisonOptions& options, Progress& progress);

}  // namespace vyn
