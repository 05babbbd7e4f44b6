// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "align/kernels/correlation_kernels.h"

#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

constexpr int column_group = 16;  ///< columns that one place of the results belongs to

void add_row(const float* values, const std::uint8_t* valid, int n, float* sums, float* counts) {
    for (int x = 0; x < n; x += lanes) {
        const vint use = load_bytes(valid + x) != 0;
        store(sums + x, load<vfloat>(sums + x) + (use ? load<vfloat>(values + x) : vfloat{}));
        store(counts + x, load<vfloat>(counts + x) + (use ? vfloat{} + 1.0F : vfloat{}));
    }
}

void and_rows(const std::uint8_t* const* rows, int count, int n, std::uint8_t* __restrict out) {
    for (int i = 0; i < count; ++i) {
        const std::uint8_t* const row = rows[i];
        if (i == 0)
            __builtin_memcpy(out, row, static_cast<std::size_t>(n));
        else
            for (int x = 0; x < n; ++x)
                out[x] &= row[x];
    }
}

void contrast(const float* values, const std::uint8_t* valid, const LocalSumRows& rows, int n,
              float* out) {
    const LocalSumRows local = rows;
    const auto between = [&](const float* const(&row)[2], int x) {
        const vfloat first = load<vfloat>(row[0] + x);
        return first + local.between * (load<vfloat>(row[1] + x) - first);
    };
    for (int x = 0; x < n; x += lanes) {
        const vfloat sum = between(local.values, x);
        const vfloat weight = between(local.weights, x);
        const vint use = (load_bytes(valid + x) != 0) & (sum > 0) & (weight > 0);
        store(out + x, use ? load<vfloat>(values + x) * weight / sum - 1.0F : vfloat{});
    }
}

/// Derivative by the fourth-order difference.
inline vfloat slope(const vfloat& before2, const vfloat& before1, const vfloat& behind1,
                    const vfloat& behind2) {
    return (8.0F * (behind1 - before1) - (behind2 - before2)) * (1.0F / 12);
}

struct Sample {
    vfloat value;
    vfloat x;
    vfloat y;
};

inline Sample sample(const float* const* rows, int i, int x, const vint& use) {
    const float* const row = rows[i] + x;
    const vfloat value = load<vfloat>(row);
    const vfloat dx = slope(load<vfloat>(row - 2), load<vfloat>(row - 1), load<vfloat>(row + 1),
                            load<vfloat>(row + 2));
    const vfloat dy = slope(load<vfloat>(rows[i - 2] + x), load<vfloat>(rows[i - 1] + x),
                            load<vfloat>(rows[i + 1] + x), load<vfloat>(rows[i + 2] + x));
    const vfloat none{};
    return {use ? value : none, use ? dx : none, use ? dy : none};
}

void add_block(const float* const* a, const float* const* b, const std::uint8_t* const* used,
               int rows, int n, float* sums, std::ptrdiff_t stride) {
    for (int x = 0; x < n; x += lanes) {
        vfloat sum[block_sum::number]{};
        for (int i = 0; i < rows; ++i) {
            const vint use = load_bytes(used[i] + x) != 0;
            if (!any(use)) continue;
            const Sample p = sample(a, i, x, use);
            const Sample q = sample(b, i, x, use);
            sum[block_sum::count] += use ? vfloat{} + 1.0F : vfloat{};
            sum[block_sum::a] += p.value;
            sum[block_sum::b] += q.value;
            sum[block_sum::aa] += p.value * p.value;
            sum[block_sum::bb] += q.value * q.value;
            sum[block_sum::ab] += p.value * q.value;
            sum[block_sum::ax] += p.x;
            sum[block_sum::ay] += p.y;
            sum[block_sum::bx] += q.x;
            sum[block_sum::by] += q.y;
            sum[block_sum::ax_a] += p.x * p.value;
            sum[block_sum::ax_b] += p.x * q.value;
            sum[block_sum::ay_a] += p.y * p.value;
            sum[block_sum::ay_b] += p.y * q.value;
            sum[block_sum::bx_a] += q.x * p.value;
            sum[block_sum::bx_b] += q.x * q.value;
            sum[block_sum::by_a] += q.y * p.value;
            sum[block_sum::by_b] += q.y * q.value;
            sum[block_sum::ax_bx] += p.x * q.x;
            sum[block_sum::ax_by_ay_bx] += p.x * q.y + p.y * q.x;
            sum[block_sum::ay_by] += p.y * q.y;
            sum[block_sum::a_power] += p.x * p.x + p.y * p.y;
            sum[block_sum::b_power] += q.x * q.x + q.y * q.y;
        }
        for (int q = 0; q < block_sum::number; ++q)
            store(sums + q * stride + x, sum[q]);
    }
}

void match(const float* cell, std::ptrdiff_t cell_stride, int width, int height,
           const float* window, std::ptrdiff_t window_stride, int columns, float* products) {
    constexpr int parts = column_group / lanes;
    for (int k = 0; k < columns; ++k) {
        vfloat sum[parts]{};
        for (int y = 0; y < height; ++y) {
            const float* const of_cell = cell + y * cell_stride;
            const float* const of_window = window + y * window_stride + k;
            for (int x = 0; x < width; x += column_group)
                for (int p = 0; p < parts; ++p)
                    sum[p] += load<vfloat>(of_cell + x + p * lanes) *
                              load<vfloat>(of_window + x + p * lanes);
        }
        float column[column_group];
        for (int p = 0; p < parts; ++p)
            store(column + p * lanes, sum[p]);
        for (int half = column_group / 2; half > 0; half /= 2)
            for (int x = 0; x < half; ++x)
                column[x] += column[x + half];
        products[k] = column[0];
    }
}

}  // namespace

extern const CorrelationKernels correlation_kernels;
const CorrelationKernels correlation_kernels = {add_row, and_rows, contrast, add_block, match};

}  // namespace vyn::VYN_ISA
