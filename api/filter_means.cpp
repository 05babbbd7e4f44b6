#include <algorithm>
#include <cmath>
#include <functional>
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

/// Factors of both sides, and what their sums over a window without excluded pixels are.
struct MeanFactors {
    MeanFactors(const FilterPass& pass, MeanWeights weights)
        : rows(factors_of(pass.rows, weights)),
          columns(factors_of(pass.columns, weights)),
          ones(std::max(rows.size(), columns.size()), 1.0F),
          // without excluded pixels to fill, only a sum of weights above 0 matters
          separate_counts(weights == MeanWeights::gauss && pass.rule.visit_excluded != 0),
          full_weight(full_sum(rows, columns)),
          full_count(static_cast<float>(rows.size() * columns.size())) {}

    const std::vector<float> rows;
    const std::vector<float> columns;
    const std::vector<float> ones;
    const bool separate_counts;
    const float full_weight;
    const float full_count;

  private:
    /// By the kernels, for their rounding.
    static float full_sum(const std::vector<float>& rows, const std::vector<float>& columns) {
        const FilterKernels& kernels = active_kernels_of_filters();
        const auto taps = static_cast<int>(columns.size());
        const PaddedRows sums(3, taps + chunk::pixels, 0);
        std::fill_n(sums.row(0), taps + chunk::pixels, 1.0F);
        const std::vector<const float*> same(rows.size(), sums.row(0));
        kernels.sum_rows(same.data(), rows.data(), static_cast<int>(rows.size()), 0,
                         (taps + 2 * chunk::pixels - 1) / chunk::pixels * chunk::pixels,
                         sums.row(1));
        kernels.sum_columns(sums.row(1), columns.data(), taps, chunk::pixels, sums.row(2));
        return *sums.row(2);
    }
};

/// Means of the rows of one block. Sums are taken where a pixel is visited, those of weights only
/// where an excluded pixel is near: elsewhere they are all the same.
class MeanBlock {
  public:
    MeanBlock(const FilterPass& pass, const MeanFactors& factors)
        : pass_(pass),
          factors_(factors),
          rows_(prepared_rows(pass, 0)),
          across_(1, pass.picture.width(), pass.columns.reach),
          sums_(3, pass.picture.width(), 0),
          visited_(static_cast<std::size_t>(rows_.chunk_count())),
          full_(visited_.size()),
          mixed_(visited_.size()),
          overwritten_(visited_.size(), 1) {}

    void filter_row(int y, image& out) {
        window_.collect(pass_, rows_, y);
        classify(y);
        const float* const down = first_factor(pass_, factors_.rows, y);
        for_each_run(visited_, [&](int begin, int end) {
            sum(window_.values, down, factors_.columns, begin, end, sums_.row(0));
        });
        sum_weights(down, factors_.columns, factors_.full_weight, sums_.row(1));
        if (factors_.separate_counts)
            sum_weights(factors_.ones.data(), factors_.ones, factors_.full_count, sums_.row(2));
        overwritten_ = mixed_;
        kernels_.mean({sums_.row(0), sums_.row(1), sums_.row(factors_.separate_counts ? 2 : 1)},
                      rows_.weight(y), pass_.row(y, out), pass_.picture.width());
    }

  private:
    using Flags = std::vector<std::uint8_t>;

    /// Which chunks are visited, and which of them have excluded pixels in their windows.
    void classify(int y) {
        const int chunks = rows_.chunk_count();
        const std::uint8_t everywhere = pass_.rule.visit_excluded != 0 ? chunk::some_valid : 0;
        std::fill(full_.begin(), full_.end(), chunk::all_valid);
        const int first = pass_.first_row(y);
        const int last = pass_.last_row(y);
        for (int row = first; row <= last; ++row)
            std::transform(full_.begin(), full_.end(), rows_.chunks(row), full_.begin(),
                           std::bit_and<std::uint8_t>());
        const bool inside =
            last - first == 2 * pass_.rows.reach && pass_.columns.reach <= chunk::pixels;
        for (int c = 0; c < chunks; ++c) {
            visited_[index(c)] = (rows_.chunks(y)[c] | everywhere) & chunk::some_valid;
            const bool clean = inside && c > 0 && c + 1 < chunks && full_[index(c - 1)] != 0 &&
                               full_[index(c)] != 0 && full_[index(c + 1)] != 0;
            mixed_[index(c)] = clean ? std::uint8_t{0} : visited_[index(c)];
        }
    }

    void sum_weights(const float* down, const std::vector<float>& along, float full, float* to) {
        for (std::size_t c = 0; c < mixed_.size(); ++c)
            if (mixed_[c] == 0 && overwritten_[c] != 0)
                std::fill_n(to + c * chunk::pixels, chunk::pixels, full);
        for_each_run(
            mixed_, [&](int begin, int end) { sum(window_.weights, down, along, begin, end, to); });
    }

    /// Sums over the windows of the pixels of some chunks.
    void sum(const std::vector<const float*>& from, const float* down,
             const std::vector<float>& along, int begin, int end, float* to) {
        const int reach = pass_.columns.reach;
        const int margin = (reach + chunk::pixels - 1) / chunk::pixels;
        const int x0 = std::max(begin - margin, 0) * chunk::pixels;
        const int x1 = std::min(end + margin, rows_.chunk_count()) * chunk::pixels;
        const int x = begin * chunk::pixels;
        kernels_.sum_rows(from.data(), down, window_.count(), x0, x1, across_.row(0));
        kernels_.sum_columns(across_.row(0) + x - reach, along.data(), 2 * reach + 1,
                             (end - begin) * chunk::pixels, to + x);
    }

    template <class Body>
    static void for_each_run(const Flags& flags, Body body) {
        const int count = static_cast<int>(flags.size());
        for (int begin = 0; begin < count; ++begin) {
            if (flags[index(begin)] == 0) continue;
            int end = begin;
            while (end < count && flags[index(end)] != 0)
                ++end;
            body(begin, end);
            begin = end;
        }
    }

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }

    const FilterKernels& kernels_ = active_kernels_of_filters();
    const FilterPass& pass_;
    const MeanFactors& factors_;
    PreparedRows rows_;
    WindowRows window_;
    PaddedRows across_;
    PaddedRows sums_;
    Flags visited_;
    Flags full_;
    Flags mixed_;
    Flags overwritten_;  ///< chunks whose sums of weights are not those of full windows
};

}  // namespace

void mean_pass(const FilterPass& pass, MeanWeights weights, image& out) {
    const MeanFactors factors(pass, weights);
    parallel_rows(pass.picture.height(), filter_block, pass.progress, [&](int y0, int y1) {
        MeanBlock block(pass, factors);
        for (int y = y0; y < y1; ++y) {
            throw_if_aborted(pass.progress);
            block.filter_row(y, out);
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
