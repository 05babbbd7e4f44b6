#pragma once

#include <vector>

#include "align/dots/dot_fit.h"
#include "core/progress.h"

namespace vyn {

struct DetectionOptions {
    DotPolarity polarity = DotPolarity::dark;
    double min_size = 3;  ///< diameters of the dots in pixels
    double max_size = 12;
    int expect = 0;  ///< so many of the best at most; 0: all that are sure
};

/// Smallest and largest dot that can be asked for, pixels.
inline constexpr double min_dot_size = 2;
inline constexpr double max_dot_size = 200;

/// A dot that was found in an image.
struct DetectedDot {
    DotFit fit;
    double contrast = 0;  ///< depth over background
    double score = 0;     ///< the higher the surer
};

/// Round dots of the wanted sizes, best first. A dot is taken when its shape is that of a dot, the
/// ring about it is unbroken paint inside the image's mask, and it stands well above noise and
/// texture. Positions are those of `fit_dot`. The result does not depend on the number of threads.
/// Raises AlgoError for sizes out of range, Aborted when told to stop.
std::vector<DetectedDot> find_dots(const image& picture, const DetectionOptions& options,
                                   Progress& progress);

/// The dots as markers, numbered from 1 in reading order: row by row from the top, each from the
/// left. Rows may be tilted.
MarkerSet number_dots(const std::vector<DetectedDot>& dots);

/// The two in one.
MarkerSet find_markers(const image& picture, const DetectionOptions& options, Progress& progress);

}  // namespace vyn
