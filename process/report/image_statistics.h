#pragma once

#include <cmath>
#include <cstdint>

#include "api/image.h"

namespace vyn {

/// What the pixels of an image amount to.
struct ImageStatistics {
    std::int64_t pixels = 0;
    std::int64_t valid = 0;
    std::int64_t saturated = 0;  ///< pixels at the sensor's maximum, excluded or not
    double minimum =
        INFINITY;  ///< of the valid pixels, like the other two; without one these say nothing
    double maximum = -INFINITY;
    double mean = NAN;

    double valid_share() const {
        return pixels > 0 ? static_cast<double>(valid) / static_cast<double>(pixels) : 0;
    }
};

ImageStatistics image_statistics(const image& picture);

/// Pixels at the sensor's maximum.
std::int64_t saturated_count(const image& picture);

}  // namespace vyn
