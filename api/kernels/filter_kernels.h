#pragma once

#include <cstdint>

#include "api/kernels/pixel_kernels.h"

namespace vyn {

/// Which pixels are filtered and when an excluded one is filled.
struct FilterRule {
    std::int32_t visit_valid;     ///< -1 = yes, 0 = no
    std::int32_t visit_excluded;  ///< likewise
    float least_count;  ///< valid pixels in the window of an excluded pixel that is filled
};

/// A row that a pass changes: what it was, its region row (may be null), where the result goes and
/// where that of the next row will go.
struct FilterRow {
    ConstPixelRow source;
    const std::uint8_t* region;
    FilterRule rule;
    PixelRow out;
    PixelRow next_out;
};

/// Sums over windows: of values by weights, of the weights, of the valid pixels.
struct WindowSums {
    const float* values;
    const float* weights;
    const float* counts;
};

/// Rows and factors of a window that is summed pixel by pixel; the rows' first element is that of
/// the window of the row's first pixel.
struct RangeWindow {
    const float* const* values;
    const float* const* weights;
    const float* row_factors;
    int rows;
    const float* column_factors;
    int columns;
    const float* centre;
    const float* centre_weight;
    float inverse_scale;
};

/// What is known of each 64 pixels of a prepared row.
namespace chunk {
inline constexpr int pixels = 64;
inline constexpr std::uint8_t some_valid = 1;  ///< in the source, before the limits
inline constexpr std::uint8_t all_valid = 2;   ///< within the limits, too
inline constexpr std::uint8_t all_finite = 4;  ///< what was prepared
}  // namespace chunk

/// Prepared rows hold value or 0 and weight 1 or 0 as floats, and zeros from n to the next multiple
/// of 64; all of these are readable and writable. Sums are taken in groups, so that their rounding
/// error grows slowly with the window.
struct FilterKernels {
    /// `next` is the row that is prepared next: it is brought into the cache meanwhile.
    void (*prepare)(ConstPixelRow source, ConstPixelRow next, const std::uint8_t* region,
                    RowLimits limits, int n, float* value, float* weight, std::uint8_t* chunks);
    /// out[x] = sum of factors[i] rows[i][x] for x from x0 to x1, multiples of 64
    void (*sum_rows)(const float* const* rows, const float* factors, int taps, int x0, int x1,
                     float* out);
    /// out[x] = sum of factors[i] row[x + i] for x below n, a multiple of 64
    void (*sum_columns)(const float* row, const float* factors, int taps, int n, float* out);
    /// Means from sums; `centre_weight` is the prepared weight of the pixels themselves.
    void (*mean)(const WindowSums& sums, const float* centre_weight, const FilterRow& row, int n);
    /// Means of range_gauss for the n pixels from x on; x is a multiple of 16.
    void (*range_mean)(const RangeWindow& window, const FilterRow& row, int x, int n);
};

}  // namespace vyn
