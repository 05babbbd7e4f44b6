#pragma once

#include <cstddef>

namespace vyn {

/// Recursive B-spline prefilter in one direction: for each pole z first forward,
/// c+[k] = s[k] + z c+[k-1], then backward, c[k] = z (c[k+1] - c+[k]).
struct SplineFilter {
    int poles;
    float pole[2];
    /// Samples that the start value of each pole's forward pass is summed from.
    int horizon[2];
    /// Factor of both directions together, applied with the rows.
    float gain;
};

/// Room that the coefficient plane has around the picture on every side, in coefficients.
inline constexpr int spline_margin = 16;

struct PrefilterKernels {
    /// Filters `count` rows and fills the mirrored margin left and right of them. `source` may be
    /// `out`. `source` rows are
    /// readable, `out` rows writable up to `spline_margin` elements beyond the width, and as many
    /// rows below the last are scratch. False when some source value is not finite; `out` is then
    /// meaningless.
    bool (*rows)(const SplineFilter& filter, const float* source, std::ptrdiff_t source_stride,
                 int width, int count, float* out, std::ptrdiff_t out_stride);
    /// Filters columns in place, a multiple of 16 of them, and fills the mirrored margin above and
    /// below.
    void (*columns)(const SplineFilter& filter, float* first, std::ptrdiff_t stride, int height,
                    int columns);
};

}  // namespace vyn
