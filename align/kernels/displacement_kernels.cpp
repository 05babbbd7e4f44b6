// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "align/kernels/displacement_kernels.h"

namespace vyn::VYN_ISA {

namespace {

void row(const DisplacementRow& r, int x0, int n, double start, double slope,
         double* __restrict out) {
    const int first_pixel = -r.ring * r.step;
    const int last_pixel = (r.count - 3 - r.ring) * r.step;
    for (int i = 0; i < n;) {
        int x = x0 + i;
        if (x < first_pixel || x >= last_pixel) {  // beyond the outer ring: as on it
            const double* const c = r.coefficients + (x < first_pixel ? 0 : r.count - 3);
            out[i] = start + slope * x + (c[0] + 4 * c[1] + c[2]) / 6;
            ++i;
            continue;
        }
        const int node = (x - first_pixel) / r.step;
        const int phase = x - first_pixel - node * r.step;
        const int left = n - i < r.step - phase ? n - i : r.step - phase;
        const double* const c = r.coefficients + node;
        const double* const w0 = r.phases + phase;
        const double* const w1 = w0 + r.stride;
        const double* const w2 = w1 + r.stride;
        const double* const w3 = w2 + r.stride;
        for (int p = 0; p < left; ++p)
            out[i + p] = (w0[p] * c[0] + w1[p] * c[1] + w2[p] * c[2] + w3[p] * c[3]) +
                         (start + slope * (x + p));
        i += left;
    }
}

}  // namespace

extern const DisplacementKernels displacement_kernels;
const DisplacementKernels displacement_kernels = {row};

}  // namespace vyn::VYN_ISA
