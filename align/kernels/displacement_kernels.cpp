// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "align/kernels/displacement_kernels.h"

#include <type_traits>

namespace vyn::VYN_ISA {

namespace {

/// `count` pixels between two nodes, from a phase on; a constant count becomes straight vector
/// code.
template <class Count>
inline __attribute__((always_inline)) void between_nodes(const double* c, const double* w0,
                                                         std::ptrdiff_t stride, Count count,
                                                         double start, double slope,
                                                         double* __restrict out) {
    const double* const w1 = w0 + stride;
    const double* const w2 = w1 + stride;
    const double* const w3 = w2 + stride;
    for (int p = 0; p < count; ++p)
        out[p] = (w0[p] * c[0] + w1[p] * c[1] + w2[p] * c[2] + w3[p] * c[3]) + (start + slope * p);
}

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
        const double* const w = r.phases + phase;
        constexpr std::integral_constant<int, 8> usual;  // the default step
        if (left == usual)
            between_nodes(c, w, r.stride, usual, start + slope * x, slope, out + i);
        else
            between_nodes(c, w, r.stride, left, start + slope * x, slope, out + i);
        i += left;
    }
}

}  // namespace

extern const DisplacementKernels displacement_kernels;
const DisplacementKernels displacement_kernels = {row};

}  // namespace vyn::VYN_ISA
