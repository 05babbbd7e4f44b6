// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "projection/kernels/pinhole_kernels.h"

namespace vyn::VYN_ISA {

namespace {

void pixels(const PinholeView& view, const double* __restrict places, int n, double* __restrict x,
            double* __restrict y) {
    const PinholeView v = view;
    const double unseen = __builtin_nan("");
    for (int i = 0; i < n; ++i) {
        const double* const p = places + 3 * i;
        const auto along = [&](int axis) {
            const double* const t = v.turn[axis];
            return t[0] * p[0] + t[1] * p[1] + t[2] * p[2] + v.shift[axis];
        };
        const double depth = along(2);
        const double scale = 1 / depth;
        x[i] = depth > 0 ? v.cx + v.fx * along(0) * scale : unseen;
        y[i] = depth > 0 ? v.cy + v.fy * along(1) * scale : unseen;
    }
}

}  // namespace

extern const PinholeKernels pinhole_kernels;
const PinholeKernels pinhole_kernels = {pixels};

}  // namespace vyn::VYN_ISA
