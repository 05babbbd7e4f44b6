#pragma once

namespace vyn {

struct PolyKernels {
    /// The polynomial of `count` (3, 6 or 10) coefficients at the points (x0 .. x0 + n - 1, y), in
    /// the order of operations of apply_poly. Terms as in align/poly_transform.h.
    void (*row)(const double* coefficients, int count, int x0, int n, int y, double* out);
    /// The same for n points in their place.
    void (*points)(const double* ax, const double* ay, int count, int n, double* x, double* y);
};

}  // namespace vyn
