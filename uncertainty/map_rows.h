#pragma once

#include <array>
#include <cstdint>

#include "uncertainty/uncertainty_map.h"

namespace vyn {

/// Over the valid pixels of a map.
struct SigmaSums {
    /// Of the terms' variances in the order of SigmaTerm, and of that by photons alone.
    std::array<double, sigma_term_count + 1> terms{};
    float largest = 0;  ///< standard deviation
    std::int64_t valid = 0;
    std::int64_t too_noisy = 0;  ///< pixels whose noise is too large for first order
};

/// Fills the map's planes, row by row. The same bits on any number of threads. Raises Aborted.
SigmaSums fill_map(const UncertainPoint& point, UncertaintyMap& map, Progress& progress);

}  // namespace vyn
