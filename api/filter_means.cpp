#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "api/filter_pass.h"
#include "api/image_parts.h"
#include "api/parallel.h"

namespace vyn {

namespace {

/// Factors of a side for -reach to reach.
std::vector<float> factors_of(WindowSide side, MeanWeights weights) {
    std::vector<float> factors;
    for (int i = -side.reach; i <= side.reach; ++i) {
        const double u = static_cast<double>(i) / side.half;
        factors.push_back(weights == MeanWeights::gauss ? static_cast<float>(std::exp(-u * u))
                                                        : 1.0F);
    }
    return factors;
}

/// The prepared rows of the window around a row, from top to bottom.
struct WindowRows {
    std::vector<const float*> values;
    std::vector<const float*> weights;

    void collect(const FilterPass& pass, PreparedRows& rows, int y) {
        const int first = pass.first_row(y);
        const int last = pass.last_row(y);
        rows.advance(first, last);
        values.clear();
        weights.clear();
        for (int row = first; row <= last; ++row) {
            values.push_back(rows.value(row));
            weights.push_back(rows.weight(row));
        }
    }
    int count() const { return static_cast<int>(values.size()); }
};

PreparedRows prepared_rows(const FilterPass& pass, int margin) {
    const int rows = std::min(2 * pass.rows.reach + 1, pass.picture.height());
    return {pass.picture, pass.limits, rows, margin};
}

/// The factor of the window's first row that the image has.
const float* first_factor(const FilterPass& pass, const std::vector<float>& factors, int y) {
    return factors.data() + (pass.first_row(y) - (y - pass.rows.reach));
}

/// Least and largest finite value of the valid pixels inside the limits.
class ValueSpan {
  public:
    void add(const float* value, const float* weight, int n) {
        for (int x = 0; x < n; ++x)
            if (weight[x] > 0 && std::isfinite(value[x])) {
                low_ = std::min(low_, value[x]);
                high_ = std::max(high_, value[x]);
            }
    }
    void add(const ValueSpan& other) {
        low_ = std::min(low_, other.low_);
        high_ = std::max(high_, other.high_);
    }
    double length() const { return high_ > low_ ? double{high_} - double{low_} : 0; }

  private:
    float low_ = std::numeric_limits<float>::infinity();
    float high_ = -std::numeric_limits<float>::infinity();
};

double value_span(const FilterPass& pass) {
    ValueSpan span;
    std::mutex mutex;
    SubProgress progress(pass.progress, 0, 0);
    parallel_rows(pass.picture.height(), filter_block, progress, [&](int y0, int y1) {
        ValueSpan part;
        PreparedRows rows(pass.picture, pass.limits, 1, 0);
        for (int y = y0; y < y1; ++y) {
            rows.advance(y, y);
            part.add(rows.value(y), rows.weight(y), pass.picture.width());
        }
        const std::lock_guard lock(mutex);
        span.add(part);
    });
    return span.length();
}

/// 1 / s; for s = 0 so large that only equal values are near.
float inverse_scale(double span, double fraction) {
    constexpr double largest = std::numeric_limits<float>::max();
    const double s = std::abs(span * fraction);
    return static_cast<float>(s > 1 / largest ? 1 / s : largest);
}

}  // namespace

void mean_pass(const FilterPass& pass, MeanWeights weights, image& out) {
    const FilterKernels& kernels = active_kernels_of_filters();
    const std::vector<float> row_factors = factors_of(pass.rows, weights);
    const std::vector<float> column_factors = factors_of(pass.columns, weights);
    const std::vector<float> ones(std::max(row_factors.size(), column_factors.size()), 1.0F);
    const int n = pass.picture.width();
    const int reach = pass.columns.reach;
    // without excluded pixels to fill, only a sum of weights above 0 matters
    const bool separate_counts = weights == MeanWeights::gauss && pass.rule.visit_excluded != 0;
    parallel_rows(pass.picture.height(), filter_block, pass.progress, [&](int y0, int y1) {
        PreparedRows rows = prepared_rows(pass, 0);
        WindowRows window;
        PaddedRows across(1, n, reach);
        PaddedRows sums(3, n, 0);
        const auto sum = [&](const std::vector<const float*>& from, const float* down,
                             const std::vector<float>& along, float* to) {
            kernels.sum_rows(from.data(), down, static_cast<int>(from.size()), n, across.row(0));
            kernels.sum_columns(across.row(0) - reach, along.data(), 2 * reach + 1, n, to);
        };
        for (int y = y0; y < y1; ++y) {
            throw_if_aborted(pass.progress);
            window.collect(pass, rows, y);
            const float* const down = first_factor(pass, row_factors, y);
            sum(window.values, down, column_factors, sums.row(0));
            sum(window.weights, down, column_factors, sums.row(1));
            if (separate_counts) sum(window.weights, ones.data(), ones, sums.row(2));
            kernels.mean({sums.row(0), sums.row(1), sums.row(separate_counts ? 2 : 1)},
                         rows.weight(y), pass.row(y, out), n);
        }
    });
}

void range_mean_pass(const FilterPass& pass, double range_fraction, image& out) {
    constexpr int stretch = 64;  // pixels between two polls of a large window
    const FilterKernels& kernels = active_kernels_of_filters();
    const std::vector<float> row_factors = factors_of(pass.rows, MeanWeights::gauss);
    const std::vector<float> column_factors = factors_of(pass.columns, MeanWeights::gauss);
    const float inverse = inverse_scale(value_span(pass), range_fraction);
    const int n = pass.picture.width();
    const int reach = pass.columns.reach;
    parallel_rows(pass.picture.height(), filter_block, pass.progress, [&](int y0, int y1) {
        PreparedRows rows = prepared_rows(pass, reach);
        WindowRows window;
        for (int y = y0; y < y1; ++y) {
            window.collect(pass, rows, y);
            for (auto* side : {&window.values, &window.weights})
                for (const float*& row : *side)
                    row -= reach;
            const RangeWindow range{
                window.values.data(), window.weights.data(), first_factor(pass, row_factors, y),
                window.count(),       column_factors.data(), 2 * reach + 1,
                rows.value(y),        rows.weight(y),        inverse};
            for (int x = 0; x < n; x += stretch) {
                throw_if_aborted(pass.progress);
                kernels.range_mean(range, pass.row(y, out), x, std::min(stretch, n - x));
            }
        }
    });
}

}  // namespace vyn
