#pragma once

#include <cstddef>
#include <cstdint>

namespace vyn {

/// Positions from this distance on (pixels) count as outside every picture; so do non-finite ones.
inline constexpr double spline_far = 1 << 30;

/// Coefficients with their mirrored margin; `origin` is the one of pixel (0, 0).
struct SplinePlane {
    const float* origin;
    std::ptrdiff_t stride;
    int width;
    int height;
    int degree;
};

/// Mask and region of a source of that size; `region` may be null. Both have one stride.
struct BytePlanes {
    const std::uint8_t* mask;
    const std::uint8_t* region;
    std::ptrdiff_t stride;
    int width;
    int height;
};

struct SplineKernels {
    /// The spline at n positions; 0 where the position is far outside.
    void (*values)(const SplinePlane& plane, const double* x, const double* y, int n, float* out);
    /// The same, and mask and region bytes of the source pixels, of the spline's size, at the
    /// positions truncated toward zero; 1 and 0 where that is outside. `region` may be null.
    void (*samples)(const SplinePlane& plane, const BytePlanes& source, const double* x,
                    const double* y, int n, float* out, std::uint8_t* mask, std::uint8_t* region);
};

}  // namespace vyn
