#pragma once

#include <optional>
#include <span>
#include <vector>

#include "align/dots/dot_quality.h"
#include "core/progress.h"

namespace vyn {

struct DetectionOptions {
    DotPolarity polarity = DotPolarity::dark;
    double min_size = 3;  ///< diameters of the dots in pixels
    double max_size = 12;
    int expect = 0;                  ///< so many of the best at most; 0: all that are sure
    std::optional<double> cut = {};  ///< least quality, 0 to 1; nothing: at the gap of qualities
                                     ///< when no number is expected
};

/// Smallest and largest dot that can be asked for, pixels.
inline constexpr double min_dot_size = 2;
inline constexpr double max_dot_size = 200;

/// What in a picture may be a dot.
struct DotCandidates {
    std::vector<DetectedDot> dots;  ///< best first
    double gap = 0;                 ///< quality in the gap between what is a dot and what is not
};

/// Round places of the wanted sizes. A candidate's shape is that of a dot, the ring about it is
/// unbroken paint inside the image's mask, and it stands above noise and texture. Positions are
/// those of `fit_dot`. The result does not depend on the number of threads. Raises AlgoError for
/// options out of range, Aborted when told to stop.
DotCandidates find_candidates(const image& picture, const DetectionOptions& options,
                              Progress& progress);

/// How many of the candidates, from the first on, `expect` and `cut` take for dots.
std::size_t taken_count(const DotCandidates& candidates, const DetectionOptions& options);

/// Those candidates alone.
std::vector<DetectedDot> find_dots(const image& picture, const DetectionOptions& options,
                                   Progress& progress);

/// The dots as markers, numbered from 1 in reading order: row by row from the top, each from the
/// left. Rows may be tilted.
MarkerSet number_dots(std::span<const DetectedDot> dots);

/// The two in one.
MarkerSet find_markers(const image& picture, const DetectionOptions& options, Progress& progress);

}  // namespace vyn
