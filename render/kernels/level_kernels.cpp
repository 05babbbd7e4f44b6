// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake. Loops without
// branches, of which the compiler makes vectors.
#include "render/kernels/level_kernels.h"

namespace vyn::VYN_ISA {

namespace {

inline float is_valid(float value, std::uint8_t mask) {
    const float not_finite = value - value;  // 0, or NaN
    return mask == 0 && not_finite == 0 ? 1 : 0;
}

void sum_columns(const float* const values[2], const std::uint8_t* const mask[2], int n, float* sum,
                 float* count) {
    const float* const a = values[0];
    const float* const b = values[1];
    const std::uint8_t* const mask_a = mask[0];
    const std::uint8_t* const mask_b = mask[1];
    for (int x = 0; x < n; ++x) {
        const float valid_a = is_valid(a[x], mask_a[x]);
        const float valid_b = is_valid(b[x], mask_b[x]);
        sum[x] = (valid_a != 0 ? a[x] : 0) + (valid_b != 0 ? b[x] : 0);
        count[x] = valid_a + valid_b;
    }
}

void count_columns(const std::uint8_t* const flags[2], int n, float* count) {
    const std::uint8_t* const a = flags[0];
    const std::uint8_t* const b = flags[1];
    for (int x = 0; x < n; ++x)
        count[x] = static_cast<float>((a[x] != 0) + (b[x] != 0));
}

void means(const float* sum, const float* count, int half, float* out, std::uint8_t* excluded) {
    for (int x = 0; x < half; ++x) {
        const float valid = count[2 * x] + count[2 * x + 1];
        out[x] = (sum[2 * x] + sum[2 * x + 1]) / (valid > 1 ? valid : 1);
    }
    for (int x = 0; x < half; ++x)
        excluded[x] = count[2 * x] + count[2 * x + 1] < 2;
}

void majority(const float* count, int half, std::uint8_t* out) {
    for (int x = 0; x < half; ++x)
        out[x] = count[2 * x] + count[2 * x + 1] >= 2;
}

}  // namespace

extern const LevelKernels level_kernels;
const LevelKernels level_kernels = {sum_columns, count_columns, means, majority};

}  // namespace vyn::VYN_ISA
