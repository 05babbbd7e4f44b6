#pragma once

#include <cstdint>

#include "api/kernels/filter_kernels.h"

namespace vyn {

/// Prepared rows of a square window (see FilterKernels), its rows from top to bottom. Rows have
/// room for 16 pixels before their first and after their last vector.
struct MedianWindow {
    const float* const* values;
    const float* const* weights;
    /// For each 64 pixels of the row, clean when no window of theirs has an excluded pixel or one
    /// that is not finite, and empty when its own pixels are all excluded.
    const std::uint8_t* chunks;
    float* const* sorted;  ///< scratch rows, as many as the window has
    float* dirty;          ///< scratch row
};

namespace window_chunk {
inline constexpr std::uint8_t clean = 1;
inline constexpr std::uint8_t empty = 2;
}  // namespace window_chunk

/// Valid pixels of a window by their rank among all values of the image: a bit per rank and the
/// number of set bits in each block of `bits_per_block` ranks. Empty between calls.
struct RankSet {
    static constexpr int bits_per_block = 2048;
    std::uint64_t* words;
    std::uint32_t* counts;
};
inline constexpr std::uint32_t no_rank = 0xffffffff;

/// A row of windows: the rank rows that they cover, and half their width in pixels.
struct RankWindow {
    const std::uint32_t* const* rows;
    int row_count;
    int half_width;
};

struct MedianKernels {
    /// Medians of the valid pixels of windows without NaN; pixels of others get todo 1, all else 0.
    /// `todo` has room up to the next multiple of 64.
    void (*median3)(const MedianWindow& window, const FilterRow& row, int n, std::uint8_t* todo);
    void (*median5)(const MedianWindow& window, const FilterRow& row, int n, std::uint8_t* todo);
    /// Where `wanted` is not 0: the number of ranks in the window of each of n pixels and the one
    /// of rank count / 2 (unspecified for none).
    void (*middle_ranks)(const RankWindow& window, const std::uint8_t* wanted, RankSet set, int n,
                         std::uint32_t* middle, std::uint32_t* count);
};

}  // namespace vyn
