#pragma once

#include <cstddef>

namespace vyn {

/// The four rows of spline coefficients of a displacement field about a row of pixels, `stride`
/// apart, and their weights there.
struct DisplacementRows {
    const double* coefficients;
    std::ptrdiff_t stride;
    const double* weights;
    int count;  ///< coefficients in a row
    int step;   ///< pixels from node to node
    int ring;   ///< nodes before pixel 0
};

struct DisplacementKernels {
    /// out[i] = start + slope * (x0 + i) + the spline at pixel x0 + i. `scratch` has room for
    /// 4 * (count + displacement_margin) numbers.
    void (*row)(const DisplacementRows& rows, int x0, int n, double start, double slope,
                double* scratch, double* out);
};

/// Numbers that the kernel may write behind a row.
inline constexpr int displacement_margin = 8;

}  // namespace vyn
