#pragma once

#include <cstddef>
#include <cstdint>

namespace vyn {

/// Sums over the pixels of a block, of the contrasts a (wind off) and b (wind on, warped) and their
/// derivatives ax, ay, bx, by.
namespace block_sum {
enum Index {
    count,
    a,
    b,
    aa,
    bb,
    ab,
    ax,
    ay,
    bx,
    by,
    ax_a,
    ax_b,
    ay_a,
    ay_b,
    bx_a,
    bx_b,
    by_a,
    by_b,
    ax_bx,
    ax_by_ay_bx,  ///< ax by + ay bx
    ay_by,
    a_power,  ///< ax^2 + ay^2
    b_power,
    number
};
}  // namespace block_sum

/// Local sums of one row's values and weights: two rows of them and the place between, 0 to 1.
struct LocalSumRows {
    const float* values[2];
    const float* weights[2];
    float between;
};

struct CorrelationKernels {
    /// Adds the values and the number (0 or 1) of the pixels with a byte other than 0.
    void (*add_row)(const float* values, const std::uint8_t* valid, int n, float* sums,
                    float* counts);
    /// out[x] = the bytes of all rows at x, combined by and
    void (*and_rows)(const std::uint8_t* const* rows, int count, int n, std::uint8_t* out);
    /// Value over local mean less 1; 0 where the byte is 0 or the local mean is unknown or not
    /// positive.
    void (*contrast)(const float* values, const std::uint8_t* valid, const LocalSumRows& local,
                     int n, float* out);
    /// Sums down the columns of `rows` rows, quantity q of column x at sums[q * stride + x]. Rows
    /// i - 2 .. i + 2 of a and b are read for row i, two elements to the left and right, too; only
    /// pixels with a byte other than 0 count. Writes up to the next multiple of 16 columns.
    void (*add_block)(const float* const* a, const float* const* b, const std::uint8_t* const* used,
                      int rows, int n, float* sums, std::ptrdiff_t stride);
    /// Sums of products of a cell with a window at `columns` neighbouring places, the first at
    /// `window`: the rows of the cell hold a multiple of 16 elements.
    void (*match)(const float* cell, std::ptrdiff_t cell_stride, int width, int height,
                  const float* window, std::ptrdiff_t window_stride, int columns, float* products);
};

}  // namespace vyn
