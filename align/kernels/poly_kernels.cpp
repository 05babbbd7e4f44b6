// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "align/kernels/poly_kernels.h"

#include <algorithm>

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

double linear(const double* c, double x, double y) {
    return c[1] * x + c[2] * y + c[0];
}

double quadratic(const double* c, double x, double y) {
    return (c[4] * x + c[3] * y + c[1]) * x + (c[5] * y + c[2]) * y + c[0];
}

double cubic(const double* c, double x, double y) {
    return ((c[8] * x + c[4]) * x + (c[6] * x + c[3]) * y + c[1]) * x +
           ((c[7] * x + c[9] * y + c[5]) * y + c[2]) * y + c[0];
}

template <double (*polynomial)(const double*, double, double)>
void map_points(const double* ax, const double* ay, int n, double* __restrict x,
                double* __restrict y) {
    double cx[10];
    double cy[10];
    std::copy_n(ax, 10, cx);
    std::copy_n(ay, 10, cy);
    for (int i = 0; i < n; ++i) {
        const double from_x = x[i];
        const double from_y = y[i];
        x[i] = polynomial(cx, from_x, from_y);
        y[i] = polynomial(cy, from_x, from_y);
    }
}

void points(const double* ax, const double* ay, int count, int n, double* x, double* y) {
    if (count == 3)
        map_points<linear>(ax, ay, n, x, y);
    else if (count == 6)
        map_points<quadratic>(ax, ay, n, x, y);
    else
        map_points<cubic>(ax, ay, n, x, y);
}

}  // namespace

extern const PolyKernels poly_kernels;
const PolyKernels poly_kernels = {row, points};

}  // namespace vyn::VYN_ISA
