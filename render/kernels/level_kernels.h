#pragma once

#include <cstdint>

namespace vyn {

/// The passes that make one row of a half-sized image of two rows of the whole one, a few pixels
/// from memory each. `n` counts the pixels of a row of the whole image, `half` those of the result;
/// `sum` and `count` have 2 * half elements.
struct LevelKernels {
    /// In every column the sum of the valid (mask 0), finite pixels of the two, and how many.
    void (*sum_columns)(const float* const values[2], const std::uint8_t* const mask[2], int n,
                        float* sum, float* count);
    /// In every column how many of the two are not 0.
    void (*count_columns)(const std::uint8_t* const flags[2], int n, float* count);
    /// Means over two columns each; 1 in `excluded` where less than two pixels count.
    void (*means)(const float* sum, const float* count, int half, float* out,
                  std::uint8_t* excluded);
    /// 1 where two pixels or more count.
    void (*majority)(const float* count, int half, std::uint8_t* out);
};

}  // namespace vyn
