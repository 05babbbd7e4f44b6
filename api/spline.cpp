#include "api/spline.h"

#include <atomic>
#include <cmath>
#include <vector>

#include "api/extended_edges.h"
#include "api/isa.h"
#include "api/kernels/spline_basis.h"
#include "api/parallel.h"

namespace vyn {

VYN_CHOOSE_KERNELS(PrefilterKernels, prefilter_kernels)
VYN_CHOOSE_KERNELS(SplineKernels, spline_kernels)

namespace {

constexpr int rows_per_block = 32;
constexpr int columns_per_unit = 16;
constexpr int units_per_block = 2;

/// Poles of the inverse of the sampled B-spline: the roots inside the unit circle of its
/// z-transform (Unser 1999, table 1).
SplineFilter filter_of(int degree) {
    double pole[2] = {0, 0};
    int poles = 2;
    switch (degree) {
        case 2:
            poles = 1;
            pole[0] = std::sqrt(8.0) - 3;
            break;
        case 3:
            poles = 1;
            pole[0] = std::sqrt(3.0) - 2;
            break;
        case 4:
            pole[0] = std::sqrt(664 - std::sqrt(438976.0)) + std::sqrt(304.0) - 19;
            pole[1] = std::sqrt(664 + std::sqrt(438976.0)) - std::sqrt(304.0) - 19;
            break;
        case 5:
            pole[0] = std::sqrt(67.5 - std::sqrt(4436.25)) + std::sqrt(26.25) - 6.5;
            pole[1] = std::sqrt(67.5 + std::sqrt(4436.25)) - std::sqrt(26.25) - 6.5;
            break;
        default:
            throw AlgoError("Algorithm error!", "Invalid spline degree", {"api/spline", 50});
    }
    SplineFilter filter{};
    filter.poles = poles;
    double gain = 1;
    for (int i = 0; i < poles; ++i) {
        gain *= (1 - pole[i]) * (1 - 1 / pole[i]);
        filter.pole[i] = static_cast<float>(pole[i]);
        // what is left out lies far below the rounding of a float
        filter.horizon[i] = static_cast<int>(std::ceil(std::log(1e-10) / std::log(-pole[i])));
    }
    filter.gain = static_cast<float>(gain * gain);
    return filter;
}

/// Ring from which on a spline of 32-bit coefficients feels no more than a millionth of what lies
/// there: the prefilter fades by its largest pole per pixel.
int edge_reach(int degree) {
    const double pole = -double{filter_of(degree).pole[0]};
    return static_cast<int>(std::ceil(std::log(1e-6) / std::log(pole)));
}

/// Mean of the finite valid pixels, 0 without any. Summed by rows, so that the threads do not show.
float mean_of_usable(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask,
                     Progress& progress) {
    struct Sum {
        double values = 0;
        double count = 0;
    };
    std::vector<Sum> rows(static_cast<std::size_t>(values.height()));
    parallel_rows(values.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < values.width(); ++x)
                if (mask(x, y) == 0 && std::isfinite(values(x, y))) {
                    Sum& sum = rows[static_cast<std::size_t>(y)];
                    sum.values += values(x, y);
                    ++sum.count;
                }
    });
    Sum whole;
    for (const Sum& sum : rows) {
        whole.values += sum.values;
        whole.count += sum.count;
    }
    return whole.count > 0 ? static_cast<float>(whole.values / whole.count) : 0;
}

Bitmap<float> without_non_finite(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask,
                                 Progress& progress) {
    const float mean = mean_of_usable(values, mask, progress);
    Bitmap<float> result(values.width(), values.height());
    parallel_rows(values.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < values.width(); ++x)
                result(x, y) = std::isfinite(values(x, y)) ? values(x, y) : mean;
    });
    return result;
}

double mirrored(double position, int length) {
    if (length == 1) return 0;
    const double last = length - 1;
    const double period = 2 * last;
    double p = std::abs(position);
    p = std::abs(p - std::trunc(p / period) * period);
    return p > last ? period - p : p;
}

template <int degree>
float weighted_sum(const SplinePlane& plane, double x, double y) {
    constexpr double shift = degree % 2 == 0 ? 0.5 : 0.0;
    const int column = static_cast<int>(x + shift);
    const int row = static_cast<int>(y + shift);
    float wx[degree + 1];
    float wy[degree + 1];
    spline_weights<degree>(static_cast<float>(x - column), wx);
    spline_weights<degree>(static_cast<float>(y - row), wy);
    float sum = 0;
    for (int j = 0; j <= degree; ++j) {
        const float* const sample =
            plane.origin + (row - degree / 2 + j) * plane.stride + (column - degree / 2);
        float row_sum = wx[0] * sample[0];
        for (int k = 1; k <= degree; ++k)
            row_sum += wx[k] * sample[k];
        sum = j == 0 ? wy[j] * row_sum : sum + wy[j] * row_sum;
    }
    return sum;
}

}  // namespace

SplineCoefficients::SplineCoefficients(const Bitmap<float>& values,
                                       const Bitmap<std::uint8_t>& mask, int degree,
                                       SplineEdges edges, Progress& progress)
    : degree_(degree), width_(values.width()), height_(values.height()) {
    if (!values.same_size(mask)) throw DimError("", {"api/spline", 118});
    filter_of(degree);
    if (values.empty()) return;
    padded_ = Bitmap<float>(width_ + 2 * margin, height_ + 2 * margin);
    SubProgress rows(progress, 0, 0.5);
    SubProgress columns(progress, 0.5, 1);
    if (edges == SplineEdges::extended)
        filter_extended(values, mask, rows);
    else
        filter_stored(values, mask, rows);
    filter_columns(columns);
}

void SplineCoefficients::filter_stored(const Bitmap<float>& values,
                                       const Bitmap<std::uint8_t>& mask, Progress& progress) {
    if (filter_rows(values.row(0), values.stride(), progress)) return;
    const Bitmap<float> finite = without_non_finite(values, mask, progress);
    filter_rows(finite.row(0), finite.stride(), progress);
}

void SplineCoefficients::filter_extended(const Bitmap<float>& values,
                                         const Bitmap<std::uint8_t>& mask, Progress& progress) {
    SubProgress extension(progress, 0, 0.5);
    SubProgress rows(progress, 0.5, 1);
    const FloatRows inner{padded_.row(margin) + margin, padded_.stride()};
    extend_edges(values, mask, edge_reach(degree_), inner, extension);
    filter_rows(inner.first, inner.stride, rows);
}

bool SplineCoefficients::filter_rows(const float* values, std::ptrdiff_t stride,
                                     Progress& progress) {
    const SplineFilter filter = filter_of(degree_);
    const PrefilterKernels& kernels = active_prefilter_kernels();
    std::atomic<bool> finite{true};
    parallel_rows(height_, rows_per_block, progress, [&](int y0, int y1) {
        if (!kernels.rows(filter, values + y0 * stride, stride, width_, y1 - y0,
                          padded_.row(y0 + margin) + margin, padded_.stride()))
            finite.store(false, std::memory_order_relaxed);
    });
    return finite;
}

void SplineCoefficients::filter_columns(Progress& progress) {
    const SplineFilter filter = filter_of(degree_);
    const PrefilterKernels& kernels = active_prefilter_kernels();
    const int units = (padded_.width() + columns_per_unit - 1) / columns_per_unit;
    parallel_rows(units, units_per_block, progress, [&](int unit0, int unit1) {
        kernels.columns(filter, padded_.row(margin) + unit0 * columns_per_unit, padded_.stride(),
                        height_, (unit1 - unit0) * columns_per_unit);
    });
}

SplinePlane SplineCoefficients::plane() const {
    return {padded_.row(margin) + margin, padded_.stride(), width_, height_, degree_};
}

float SplineCoefficients::at(double x, double y) const {
    if (!(std::abs(x) < spline_far && std::abs(y) < spline_far)) return 0;
    const double inner_x = mirrored(x, width_);
    const double inner_y = mirrored(y, height_);
    switch (degree_) {
        case 2:
            return weighted_sum<2>(plane(), inner_x, inner_y);
        case 4:
            return weighted_sum<4>(plane(), inner_x, inner_y);
        case 5:
            return weighted_sum<5>(plane(), inner_x, inner_y);
        default:
            return weighted_sum<3>(plane(), inner_x, inner_y);
    }
}

SplineEvaluation::SplineEvaluation(const SplineCoefficients& spline)
    : plane_(spline.plane()), kernels_(active_spline_kernels()) {}

}  // namespace vyn
