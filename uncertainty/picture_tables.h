#pragma once

#include <optional>
#include <vector>

#include "uncertainty/resampling_gain.h"
#include "uncertainty/uncertainty_map.h"

namespace vyn {

/// Sums of squared weights along both axes, an entry for each phase.
struct AxisTables {
    std::vector<float> x;
    std::vector<float> y;
};

/// What is to be known beside where the filter is a median.
struct MedianTables {
    std::vector<float> excess;  ///< of `median_variance`
    float before = 1;           ///< mean gain of the sampling before the filter
};

/// What interpolation and filter make of a picture's noise.
struct PictureTables {
    PictureTables(const UncertainPoint& point, const UncertainPicture& picture);

    Samplings samplings;
    ResamplingWeights x;
    ResamplingWeights y;
    AxisTables gains;
    std::optional<AxisTables> plain;  ///< without the filter, where there is one
    std::optional<MedianTables> median;
};

/// Of two pictures' common pixels.
struct SharedTables {
    SharedTables(const PictureTables& a, const PictureTables& b) : x(a.x, b.x), y(a.y, b.y) {}
    SharedWeights x;
    SharedWeights y;
};

}  // namespace vyn
