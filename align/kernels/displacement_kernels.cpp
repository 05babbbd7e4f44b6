// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "align/kernels/displacement_kernels.h"

#include <algorithm>

#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

/// `count` pixels between two nodes, from a phase on.
void between_nodes(const double* c, const double* w0, std::ptrdiff_t stride, int count,
                   double start, double slope, double* __restrict out) {
    const double* const w1 = w0 + stride;
    const double* const w2 = w1 + stride;
    const double* const w3 = w2 + stride;
    for (int p = 0; p < count; ++p)
        out[p] = (w0[p] * c[0] + w1[p] * c[1] + w2[p] * c[2] + w3[p] * c[3]) + (start + slope * p);
}

/// Whole spans from node to node of the default step.
class UsualSpans {
  public:
    static constexpr int step = 8;

    UsualSpans(const DisplacementRow& r, double slope) {
        for (int part = 0; part < parts; ++part) {
            const int p = part * half_lanes;
            for (int k = 0; k < 4; ++k)
                weights_[part][k] = load<vdouble>(r.phases + k * r.stride + p);
            ramp_[part] = (counting<vdouble>() + static_cast<double>(p)) * slope;
        }
    }
    void operator()(const double* c, double start, double* out) const {
        for (int part = 0; part < parts; ++part) {
            const vdouble(&w)[4] = weights_[part];
            store(out + part * half_lanes,
                  (w[0] * c[0] + w[1] * c[1] + w[2] * c[2] + w[3] * c[3]) + (ramp_[part] + start));
        }
    }

  private:
    static constexpr int parts = step / half_lanes;
    vdouble weights_[parts][4];
    vdouble ramp_[parts];
};

void row(const DisplacementRow& r, int x0, int n, double start, double slope,
         double* __restrict out) {
    const int first_pixel = -r.ring * r.step;
    const int last_pixel = (r.count - 3 - r.ring) * r.step;
    const auto beyond = [&](int begin, int end, const double* c) {  // the outer ring: as on it
        for (int i = begin; i < end; ++i)
            out[i] = start + slope * (x0 + i) + (c[0] + 4 * c[1] + c[2]) / 6;
    };
    const int begin = std::clamp(first_pixel - x0, 0, n);
    const int end = std::clamp(last_pixel - x0, begin, n);
    beyond(0, begin, r.coefficients);
    int node = (x0 + begin - first_pixel) / r.step;
    int phase = (x0 + begin - first_pixel) % r.step;
    int i = begin;
    const auto until = [&](int count) {
        between_nodes(r.coefficients + node, r.phases + phase, r.stride, count,
                      start + slope * (x0 + i), slope, out + i);
        i += count;
        phase = 0;
        ++node;
    };
    if (i < end && phase > 0) until(std::min(end - i, r.step - phase));
    if (r.step == UsualSpans::step) {
        const UsualSpans span(r, slope);
        for (; i + r.step <= end; i += r.step)
            span(r.coefficients + node++, start + slope * (x0 + i), out + i);
    }
    while (i < end)
        until(std::min(end - i, r.step));
    beyond(end, n, r.coefficients + r.count - 3);
}

}  // namespace

extern const DisplacementKernels displacement_kernels;
const DisplacementKernels displacement_kernels = {row};

}  // namespace vyn::VYN_ISA
