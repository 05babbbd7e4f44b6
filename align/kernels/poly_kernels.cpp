// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "align/kernels/poly_kernels.h"

namespace vyn::VYN_ISA {

namespace {

void linear_row(const double* c, int x0, int n, double y, double* __restrict out) {
    const double c0 = c[0];
    const double c1 = c[1];
    const double c2_y = c[2] * y;
    for (int i = 0; i < n; ++i)
        out[i] = c1 * (x0 + i) + c2_y + c0;
}

void quadratic_row(const double* c, int x0, int n, double y, double* __restrict out) {
    const double c0 = c[0];
    const double c1 = c[1];
    const double c3_y = c[3] * y;
    const double c4 = c[4];
    const double in_y = (c[5] * y + c[2]) * y;
    for (int i = 0; i < n; ++i) {
        const double x = x0 + i;
        out[i] = (c4 * x + c3_y + c1) * x + in_y + c0;
    }
}

void cubic_row(const double* c, int x0, int n, double y, double* __restrict out) {
    const double c0 = c[0];
    const double c1 = c[1];
    const double c2 = c[2];
    const double c3 = c[3];
    const double c4 = c[4];
    const double c5 = c[5];
    const double c6 = c[6];
    const double c7 = c[7];
    const double c8 = c[8];
    const double c9_y = c[9] * y;
    for (int i = 0; i < n; ++i) {
        const double x = x0 + i;
        out[i] = ((c8 * x + c4) * x + (c6 * x + c3) * y + c1) * x +
                 ((c7 * x + c9_y + c5) * y + c2) * y + c0;
    }
}

void row(const double* coefficients, int count, int x0, int n, int y, double* out) {
    if (count == 3)
        linear_row(coefficients, x0, n, y, out);
    else if (count == 6)
        quadratic_row(coefficients, x0, n, y, out);
    else
        cubic_row(coefficients, x0, n, y, out);
}

}  // namespace

extern const PolyKernels poly_kernels;
const PolyKernels poly_kernels = {row};

}  // namespace vyn::VYN_ISA
