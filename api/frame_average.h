#pragma once

#include <array>
#include <span>

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// How frames of one view become one picture.
enum class AverageMethod {
    mean,
    median,
    clipped_mean,  ///< of the values near the median, see below
};

/// As settings, options and reports name them, in their order.
inline constexpr std::array average_method_names{"mean", "median", "clipped"};

struct AverageOptions {
    AverageMethod method = AverageMethod::mean;
    /// Clipped mean: values farther than so many standard deviations from the median are left out;
    /// the deviation is that of a normal distribution with the same median deviation (Hampel 1974),
    /// so that the values to be left out do not widen it.
    double clip = 3;
};

/// One picture of several of the same size, pixel by pixel over the frames in which the pixel is
/// valid; valid in none: excluded, with the last frame's value. Sums in 64-bit. What the frames
/// scatter is kept: the variance of a single frame, and as many frames as would scatter alike in a
/// mean, which are fewer for the median (2/pi of them). Saturated is what is so in any frame. Other
/// attributes are those of the first frame; the exposure only when all agree. Raises AlgoError for
/// no frames and a clip that is not positive, DimError for different sizes, Aborted when told to
/// stop.
image average(std::span<const image> frames, const AverageOptions& options, Progress& progress);

}  // namespace vyn
