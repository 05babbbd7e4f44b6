// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "align/kernels/displacement_kernels.h"

#include <algorithm>

#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

static_assert(half_lanes <= displacement_margin);

/// Pixels from node to node by default.
constexpr int usual_step = 8;
static_assert(usual_step % half_lanes == 0);

/// A row of the spline as powers of the pixels behind each node: power k of span s (from node s to
/// the next one) at powers[k][s].
class Spans {
  public:
    /// Spans `first` to `last - 1`, and the straight line besides.
    Spans(const DisplacementRows& rows, int first, int last, double start, double slope,
          double* scratch)
        : step_(rows.step) {
        const int pitch = rows.count + displacement_margin;
        for (int k = 0; k < 4; ++k)
            powers_[k] = scratch + k * pitch;
        sum_rows(rows, first, last + 3, powers_[3]);
        // In the place of the sums, each vector read before it is overwritten.
        const double h = 1.0 / step_;
        const vdouble nodes = counting<vdouble>() - static_cast<double>(rows.ring);
        for (int s = first; s < last; s += half_lanes) {
            const double* const c = powers_[3] + s;
            const vdouble c0 = load<vdouble>(c);
            const vdouble c1 = load<vdouble>(c + 1);
            const vdouble c2 = load<vdouble>(c + 2);
            const vdouble c3 = load<vdouble>(c + 3);
            const vdouble line = (nodes + static_cast<double>(s)) * (slope * step_) + start;
            store(powers_[0] + s, (c0 + 4.0 * c1 + c2) * (1.0 / 6) + line);
            store(powers_[1] + s, (c2 - c0) * (h / 2) + slope);
            store(powers_[2] + s, (c0 - 2.0 * c1 + c2) * (h * h / 2));
            store(powers_[3] + s, (3.0 * (c1 - c2) + c3 - c0) * (h * h * h / 6));
        }
    }

    /// `count` pixels of a span from pixel `phase` on.
    void some(int span, int phase, int count, double* __restrict out) const {
        for (int i = 0; i < count; ++i)
            out[i] = at(span, static_cast<double>(phase + i));
    }

    /// `count` whole spans of the default step.
    void usual(int first, int count, double* __restrict out) const {
        for (int s = first; s < first + count; ++s)
            for (int p = 0; p < usual_step; p += half_lanes, out += half_lanes)
                store(out, at(s, counting<vdouble>() + static_cast<double>(p)));
    }

  private:
    static void sum_rows(const DisplacementRows& rows, int first, int last, double* sums) {
        const double* const w = rows.weights;
        const double* const row[4] = {rows.coefficients, rows.coefficients + rows.stride,
                                      rows.coefficients + 2 * rows.stride,
                                      rows.coefficients + 3 * rows.stride};
        for (int k = first; k < last; ++k)
            sums[k] = w[0] * row[0][k] + w[1] * row[1][k] + w[2] * row[2][k] + w[3] * row[3][k];
    }

    template <class Number>
    Number at(int span, const Number& pixel) const {
        return ((pixel * powers_[3][span] + powers_[2][span]) * pixel + powers_[1][span]) * pixel +
               powers_[0][span];
    }

    int step_;
    double* powers_[4];
};

void row(const DisplacementRows& r, int x0, int n, double start, double slope, double* scratch,
         double* __restrict out) {
    const int first_pixel = -r.ring * r.step;
    const int last_pixel = (r.count - 3 - r.ring) * r.step;
    const auto span_of = [&](int x) {
        return std::clamp((x - first_pixel) / r.step, 0, r.count - 4);
    };
    const int begin = std::clamp(first_pixel - x0, 0, n);
    const int end = std::clamp(last_pixel - x0, begin, n);
    const Spans spans(r, span_of(x0), span_of(x0 + n - 1) + 1, start, slope, scratch);
    const auto beyond = [&](int from, int to, int ring_pixel) {  // the outer ring: as on it
        double on_ring = 0;
        const int span = span_of(ring_pixel);
        if (from < to) spans.some(span, ring_pixel - first_pixel - span * r.step, 1, &on_ring);
        for (int i = from; i < to; ++i)
            out[i] = on_ring + slope * (x0 + i - ring_pixel);
    };
    beyond(0, begin, first_pixel);
    beyond(end, n, last_pixel);
    int i = begin;
    int span = span_of(x0 + begin);
    const auto pixels = [&](int phase) {
        const int count = std::min(end - i, r.step - phase);
        spans.some(span++, phase, count, out + i);
        i += count;
    };
    if (const int phase = x0 + begin - first_pixel - span * r.step; i < end && phase > 0)
        pixels(phase);
    if (r.step == usual_step) {
        const int count = (end - i) / usual_step;
        spans.usual(span, count, out + i);
        span += count;
        i += count * usual_step;
    }
    while (i < end)
        pixels(0);
}

}  // namespace

extern const DisplacementKernels displacement_kernels;
const DisplacementKernels displacement_kernels = {row};

}  // namespace vyn::VYN_ISA
