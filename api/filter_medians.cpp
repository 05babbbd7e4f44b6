#include <algorithm>
#include <cmath>
#include <cstring>

#include "api/filter_pass.h"
#include "api/image_parts.h"
#include "api/isa.h"
#include "api/kernels/median_kernels.h"
#include "api/parallel.h"
#include "api/rank_median.h"

namespace vyn {

VYN_CHOOSE_KERNELS(MedianKernels, median_kernels)

namespace {

/// Rows of the scratch that a small median needs.
constexpr int largest_small = 5;
constexpr int small_margin = 32;

bool ranks_before(float a, float b) {
    return a < b || (std::isnan(b) && !std::isnan(a));
}

/// Writes one pixel by its window's valid values.
void finish_pixel(const FilterRow& row, int x, bool centre_valid, int count, float median) {
    const bool filled =
        count > 0 && (centre_valid || static_cast<float>(count) >= row.rule.least_count);
    row.out.value[x] = filled ? median : row.source.value[x];
    if (filled)
        row.out.mask[x] = 0;
    else
        row.out.mask[x] = row.source.mask[x] != 0 ? row.source.mask[x] : std::uint8_t{1};
}

/// A window with NaN among its pixels; its rows are zero outside the image.
void median_pixel(const MedianWindow& window, int size, const FilterRow& row, int x) {
    float values[largest_small * largest_small];
    const int half = size / 2;
    int count = 0;
    for (int j = 0; j < size; ++j)
        for (int i = x - half; i <= x + half; ++i)
            if (window.weights[j][i] > 0) values[count++] = window.values[j][i];
    float median = 0;
    if (count > 0) {
        float* const middle = values + count / 2;
        std::nth_element(values, middle, values + count, ranks_before);
        median = *middle;
    }
    finish_pixel(row, x, window.weights[half][x] > 0, count, median);
}

/// What is known of the windows of each 64 pixels of row y, whose rows are prepared.
void window_chunks(const FilterPass& pass, const PreparedRows& rows, int y,
                   std::vector<std::uint8_t>& chunks) {
    constexpr std::uint8_t usable = chunk::all_valid | chunk::all_finite;
    const bool inner = y >= pass.rows.half && y + pass.rows.half < pass.picture.height();
    const std::size_t count = chunks.size();
    std::vector<std::uint8_t> common(count, inner ? usable : 0);
    for (int from = pass.first_row(y); from <= pass.last_row(y); ++from)
        for (std::size_t i = 0; i < count; ++i)
            common[i] &= rows.chunks(from)[i];
    const auto clean = [&](std::size_t i) {
        return i > 0 && i + 1 < count && (common[i - 1] & common[i] & common[i + 1]) == usable;
    };
    for (std::size_t i = 0; i < count; ++i)
        chunks[i] = clean(i)                                       ? window_chunk::clean
                    : (rows.chunks(y)[i] & chunk::some_valid) == 0 ? window_chunk::empty
                                                                   : std::uint8_t{0};
}

/// Windows of 3 x 3 and 5 x 5 pixels.
void small_median_pass(const FilterPass& pass, int size, image& out) {
    const int n = pass.picture.width();
    const MedianKernels& kernels = active_median_kernels();
    const auto median_row = size == 3 ? kernels.median3 : kernels.median5;
    parallel_rows(pass.picture.height(), filter_block, pass.progress, [&](int y0, int y1) {
        PreparedRows rows(pass.picture, pass.limits, size, small_margin);
        const PaddedRows scratch(size + 2, n, small_margin);
        const float* const outside = scratch.row(size + 1);
        const float* values[largest_small];
        const float* weights[largest_small];
        float* sorted[largest_small];
        for (int i = 0; i < size; ++i)
            sorted[i] = scratch.row(i);
        std::vector<std::uint8_t> chunks(static_cast<std::size_t>(rows.chunk_count()));
        const MedianWindow window{values, weights, chunks.data(), sorted, scratch.row(size)};
        std::vector<std::uint8_t> todo(chunks.size() * chunk::pixels);
        for (int y = y0; y < y1; ++y) {
            rows.advance(pass.first_row(y), pass.last_row(y));
            for (int i = 0; i < size; ++i) {
                const int from = y - size / 2 + i;
                const bool exists = from >= 0 && from < pass.picture.height();
                values[i] = exists ? rows.value(from) : outside;
                weights[i] = exists ? rows.weight(from) : outside;
            }
            window_chunks(pass, rows, y, chunks);
            const FilterRow row = pass.row(y, out);
            median_row(window, row, n, todo.data());
            const std::uint8_t* const end = todo.data() + n;
            const auto next = [end](const std::uint8_t* from) {
                return static_cast<const std::uint8_t*>(
                    std::memchr(from, 1, static_cast<std::size_t>(end - from)));
            };
            for (const std::uint8_t* at = next(todo.data()); at; at = next(at + 1))
                median_pixel(window, size, row, static_cast<int>(at - todo.data()));
        }
    });
}

bool wanted(const FilterRow& row, int x) {
    if (row.region && row.region[x] == 0) return false;
    return (row.source.mask[x] == 0 ? row.rule.visit_valid : row.rule.visit_excluded) != 0;
}

/// Windows of any size: a sliding set of ranks (after Huang 1979 and Weiss 2006), whose cost per
/// pixel grows with the height of the window.
void rank_median_pass(const FilterPass& pass, image& out) {
    const int n = pass.picture.width();
    const image limited = pass.limited();
    throw_if_aborted(pass.progress);
    const ValueRanks all(limited);
    const std::size_t blocks = all.values.size() / RankSet::bits_per_block + 1;
    const MedianKernels& kernels = active_median_kernels();
    parallel_rows(pass.picture.height(), filter_block, pass.progress, [&](int y0, int y1) {
        std::vector<std::uint64_t> words(blocks * (RankSet::bits_per_block / 64));
        std::vector<std::uint32_t> counts(blocks);
        std::vector<std::uint32_t> middle(static_cast<std::size_t>(n));
        std::vector<std::uint32_t> count(static_cast<std::size_t>(n));
        std::vector<std::uint8_t> visit(static_cast<std::size_t>(n));
        std::vector<const std::uint32_t*> rows;
        for (int y = y0; y < y1; ++y) {
            throw_if_aborted(pass.progress);
            rows.clear();
            for (int from = pass.first_row(y); from <= pass.last_row(y); ++from)
                rows.push_back(all.ranks.row(from));
            const FilterRow row = pass.row(y, out);
            for (int x = 0; x < n; ++x)
                visit[static_cast<std::size_t>(x)] = wanted(row, x) ? 1 : 0;
            kernels.middle_ranks({rows.data(), static_cast<int>(rows.size()), pass.columns.reach},
                                 visit.data(), {words.data(), counts.data()}, n, middle.data(),
                                 count.data());
            for (int x = 0; x < n; ++x) {
                const auto i = static_cast<std::size_t>(x);
                if (visit[i] != 0) {
                    const float median = count[i] > 0 ? all.values[middle[i]] : 0.0F;
                    finish_pixel(row, x, limited.mask()(x, y) == 0, static_cast<int>(count[i]),
                                 median);
                } else {
                    row.out.value[x] = row.source.value[x];
                    row.out.mask[x] = row.source.mask[x];
                }
            }
        }
    });
}

}  // namespace

void median_pass(const FilterPass& pass, image& out) {
    const bool square = pass.columns.half == pass.rows.half;
    if (square && pass.rows.half <= largest_small / 2)
        small_median_pass(pass, 2 * pass.rows.half + 1, out);
    else
        rank_median_pass(pass, out);
}

}  // namespace vyn
