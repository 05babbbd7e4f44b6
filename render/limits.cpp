#include "render/limits.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <mutex>

#include "api/parallel.h"

namespace vyn {

namespace {

/// Calls `visit(value)` for every valid, finite pixel of a row.
template <class Visit>
void for_each_value(const image& picture, int y, const Visit& visit) {
    const float* const values = picture.values().row(y);
    const std::uint8_t* const mask = picture.mask().row(y);
    for (int x = 0; x < picture.width(); ++x)
        if (mask[x] == 0 && std::isfinite(values[x])) visit(values[x]);
}

/// Sums of one row, about a value near the mean so that nothing is lost.
struct RowSums {
    std::int64_t count = 0;
    float minimum = 0;
    float maximum = 0;
    double sum = 0;
    double squares = 0;
};

float first_value(const image& picture) {
    for (int y = 0; y < picture.height(); ++y) {
        float first = std::numeric_limits<float>::quiet_NaN();
        for_each_value(picture, y, [&](float value) {
            if (std::isnan(first)) first = value;
        });
        if (!std::isnan(first)) return first;
    }
    return 0;
}

/// A 32-bit number that is ordered as the float is.
std::uint32_t order_of(float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    return bits >> 31 ? ~bits : bits | 0x80000000U;
}

float value_of(std::uint32_t order) {
    return std::bit_cast<float>(order >> 31 ? order & 0x7FFFFFFFU : ~order);
}

/// Counts in many bins, summed over strips of rows. Whole numbers: the order does not matter.
class BinCounts {
  public:
    explicit BinCounts(std::size_t bins) : counts_(bins) {}

    /// `visit_rows(y0, y1, counts)` adds the pixels of those rows to `counts`.
    template <class VisitRows>
    void count(int height, Progress& progress, const VisitRows& visit_rows) {
        // Strips large enough that clearing and adding the bins costs little.
        const int strip = std::max(height / 16, 1);
        parallel_rows(height, strip, progress, [&](int y0, int y1) {
            std::vector<std::int64_t> own(counts_.size());
            constexpr int rows_between_abort_checks = 64;
            for (int y = y0; y < y1; y += rows_between_abort_checks) {
                throw_if_aborted(progress);
                visit_rows(y, std::min(y + rows_between_abort_checks, y1), own);
            }
            const std::lock_guard lock(mutex_);
            for (std::size_t i = 0; i < own.size(); ++i)
                counts_[i] += own[i];
        });
    }
    const std::vector<std::int64_t>& counts() const { return counts_; }

  private:
    std::mutex mutex_;
    std::vector<std::int64_t> counts_;
};

constexpr std::size_t half_word = 65536;

/// Counts by the upper half of the order, or by the lower half of those with that upper half.
std::vector<std::int64_t> upper_counts(const image& picture, Progress& progress) {
    BinCounts bins(half_word);
    bins.count(picture.height(), progress, [&](int y0, int y1, std::vector<std::int64_t>& counts) {
        for (int y = y0; y < y1; ++y)
            for_each_value(picture, y, [&](float value) { ++counts[order_of(value) >> 16]; });
    });
    return bins.counts();
}

std::vector<std::int64_t> lower_counts(const image& picture, std::size_t upper,
                                       Progress& progress) {
    BinCounts bins(half_word);
    bins.count(picture.height(), progress, [&](int y0, int y1, std::vector<std::int64_t>& counts) {
        for (int y = y0; y < y1; ++y)
            for_each_value(picture, y, [&](float value) {
                const std::uint32_t order = order_of(value);
                if (order >> 16 == upper) ++counts[order & 0xFFFF];
            });
    });
    return bins.counts();
}

/// The bin that holds the element of this rank; the rank becomes that within the bin.
std::size_t bin_of_rank(const std::vector<std::int64_t>& counts, std::int64_t& rank) {
    std::size_t bin = 0;
    while (rank >= counts[bin])
        rank -= counts[bin++];
    return bin;
}

}  // namespace

std::string complaint_about(const Limits& limits) {
    if (!std::isfinite(limits.minimum) || !std::isfinite(limits.maximum))
        return "The limits must be finite numbers.";
    if (limits.minimum >= limits.maximum) return "The lower limit must lie below the upper one.";
    return {};
}

Limits with_room(const Limits& limits) {
    if (limits.minimum < limits.maximum) return limits;
    const double margin = std::max(std::abs(limits.minimum) * 0.01, 0.5);
    return {limits.minimum - margin, limits.maximum + margin};
}

Limits ValueSummary::three_sigma() const {
    return {std::max(mean - 3 * sigma, minimum), std::min(mean + 3 * sigma, maximum)};
}

ValueSummary summarise(const image& picture, Progress& progress) {
    picture.check_planes();
    const double shift = first_value(picture);
    std::vector<RowSums> rows(static_cast<std::size_t>(picture.height()));
    parallel_rows(picture.height(), 32, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            RowSums sums;
            sums.minimum = std::numeric_limits<float>::max();
            sums.maximum = std::numeric_limits<float>::lowest();
            for_each_value(picture, y, [&](float value) {
                const double difference = value - shift;
                ++sums.count;
                sums.minimum = std::min(sums.minimum, value);
                sums.maximum = std::max(sums.maximum, value);
                sums.sum += difference;
                sums.squares += difference * difference;
            });
            rows[static_cast<std::size_t>(y)] = sums;
        }
    });

    // In the order of the rows, so that the bits do not depend on the threads.
    RowSums all;
    for (const RowSums& row : rows) {
        if (row.count == 0) continue;
        all.minimum = all.count == 0 ? row.minimum : std::min(all.minimum, row.minimum);
        all.maximum = all.count == 0 ? row.maximum : std::max(all.maximum, row.maximum);
        all.count += row.count;
        all.sum += row.sum;
        all.squares += row.squares;
    }
    ValueSummary summary;
    if (all.count == 0) return summary;
    const double mean = all.sum / static_cast<double>(all.count);
    summary.count = all.count;
    summary.minimum = all.minimum;
    summary.maximum = all.maximum;
    summary.mean = shift + mean;
    summary.sigma =
        std::sqrt(std::max(all.squares / static_cast<double>(all.count) - mean * mean, 0.0));
    return summary;
}

Limits percentiles(const image& picture, double low, double high, Progress& progress) {
    picture.check_planes();
    SubProgress first_pass(progress, 0, 0.4);
    const std::vector<std::int64_t> upper = upper_counts(picture, first_pass);
    std::int64_t count = 0;
    for (const std::int64_t bin : upper)
        count += bin;
    if (count == 0) return {0, 0};

    const auto value_at = [&](double percent, Progress& pass) {
        // Nearest rank: the smallest value with at least that share at or below it.
        const double share = std::clamp(percent, 0.0, 100.0) / 100;
        auto rank = static_cast<std::int64_t>(std::ceil(share * static_cast<double>(count))) - 1;
        rank = std::clamp(rank, std::int64_t{0}, count - 1);
        const std::size_t bin = bin_of_rank(upper, rank);
        const std::size_t lower = bin_of_rank(lower_counts(picture, bin, pass), rank);
        return double{value_of(static_cast<std::uint32_t>(bin << 16 | lower))};
    };
    SubProgress second_pass(progress, 0.4, 0.7);
    SubProgress third_pass(progress, 0.7, 1);
    return {value_at(low, second_pass), value_at(high, third_pass)};
}

Limits robust_limits(const image& picture, Progress& progress) {
    constexpr double spared = 0.5;
    const Limits limits = percentiles(picture, spared, 100 - spared, progress);
    if (limits.minimum < limits.maximum) return limits;
    return with_room(summarise(picture, progress).extremes());
}

Histogram make_histogram(const image& picture, const Limits& range, int bins, Progress& progress) {
    picture.check_planes();
    const auto n = static_cast<std::size_t>(std::max(bins, 1));
    const double width = range.maximum - range.minimum;
    const double scale = width > 0 ? static_cast<double>(n) / width : 0;
    // Two more bins for what lies outside.
    BinCounts counted(n + 2);
    counted.count(
        picture.height(), progress, [&](int y0, int y1, std::vector<std::int64_t>& counts) {
            const auto last = static_cast<double>(n - 1);
            for (int y = y0; y < y1; ++y)
                for_each_value(picture, y, [&](float value) {
                    const double bin = (value - range.minimum) * scale;
                    std::size_t place = 0;  // below, or a range of NaN
                    if (value > range.maximum)
                        place = n + 1;
                    else if (value >= range.minimum)
                        place = 1 + (bin > 0 ? static_cast<std::size_t>(std::min(bin, last)) : 0);
                    ++counts[place];
                });
        });
    Histogram histogram;
    histogram.range = range;
    histogram.below = counted.counts().front();
    histogram.above = counted.counts().back();
    histogram.counts.assign(counted.counts().begin() + 1, counted.counts().end() - 1);
    return histogram;
}

}  // namespace vyn
