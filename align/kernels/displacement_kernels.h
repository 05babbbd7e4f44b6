#pragma once

#include <cstddef>

namespace vyn {

/// One row of spline coefficients of a displacement field, and the weights of four neighbouring
/// ones at each pixel behind a node: weight k of pixel p at phases[k * stride + p].
struct DisplacementRow {
    const double* coefficients;
    int count;
    const double* phases;
    std::ptrdiff_t stride;
    int step;
    int ring;  ///< nodes before pixel 0
};

struct DisplacementKernels {
    /// out[i] = start + slope * (x0 + i) + the spline at pixel x0 + i
    void (*row)(const DisplacementRow& row, int x0, int n, double start, double slope, double* out);
};

}  // namespace vyn
