// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "api/kernels/filter_kernels.h"

#include "api/kernels/row_finish.h"

namespace vyn::VYN_ISA {

namespace {

constexpr int group = 16;  ///< taps that are summed before they join the total
constexpr int unrolled = 4;

template <Use region_plane>
void prepare_row(ConstPixelRow source, ConstPixelRow next, const std::uint8_t* region,
                 RowLimits limits, int n, float* out_value, float* out_weight,
                 std::uint8_t* chunks) {
    for (int x0 = 0; x0 < n; x0 += chunk::pixels) {
        fetch_chunk<Use::no>(next, x0);
        vint some{};
        vint lost{};
        vfloat doubt{};
        for (int x = x0; x < x0 + chunk::pixels && x < n; x += lanes) {
            vfloat value = load<vfloat>(source.value + x);
            vint below = value < limits.lower;
            vint above = value > limits.upper;
            if constexpr (region_plane == Use::yes) {
                const vint inside = load_bytes(region + x) != 0;
                below &= inside;
                above &= inside;
            }
            const vint masked = load_bytes(source.mask + x) != 0;
            const vint excluded = masked | below;
            some |= ~masked;
            lost |= excluded;
            value = above ? vfloat{} + limits.upper : value;
            value = excluded ? vfloat{} : value;
            doubt += value * 0;  // NaN unless finite
            store(out_value + x, value);
            store(out_weight + x, excluded ? vfloat{} : vfloat{} + 1.0F);
        }
        const bool whole = n - x0 >= chunk::pixels;
        *chunks++ = static_cast<std::uint8_t>((any(some) ? chunk::some_valid : 0) |
                                              (whole && !any(lost) ? chunk::all_valid : 0) |
                                              (any(doubt != 0) ? 0 : chunk::all_finite));
    }
    for (int x = n; x % chunk::pixels != 0; ++x)
        out_value[x] = out_weight[x] = 0;
}

void prepare(ConstPixelRow source, ConstPixelRow next, const std::uint8_t* region, RowLimits limits,
             int n, float* value, float* weight, std::uint8_t* chunks) {
    if (region)
        prepare_row<Use::yes>(source, next, region, limits, n, value, weight, chunks);
    else
        prepare_row<Use::no>(source, next, region, limits, n, value, weight, chunks);
}

/// Sums of one group for all pixels; `at(i)` is where tap i of pixel 0 lies.
template <Use earlier_sums, Use multiplication, class At>
inline void sum_group(At at, [[maybe_unused]] const float* factors, int taps, int x0, int x1,
                      float* out) {
    for (int x = x0; x < x1; x += unrolled * lanes) {
        vfloat sum[unrolled]{};
        for (int i = 0; i < taps; ++i) {
            const float* const from = at(i) + x;
            for (int k = 0; k < unrolled; ++k)
                if constexpr (multiplication == Use::yes)
                    sum[k] += load<vfloat>(from + k * lanes) * factors[i];
                else
                    sum[k] += load<vfloat>(from + k * lanes);
        }
        for (int k = 0; k < unrolled; ++k) {
            float* const to = out + x + k * lanes;
            if constexpr (earlier_sums == Use::yes) sum[k] += load<vfloat>(to);
            store(to, sum[k]);
        }
    }
}

template <Use multiplication, class At>
inline void sum_all(At at, const float* factors, int taps, int x0, int x1, float* out) {
    const int first = taps < group ? taps : group;
    sum_group<Use::no, multiplication>(at, factors, first, x0, x1, out);
    for (int start = first; start < taps; start += group) {
        const int count = taps - start < group ? taps - start : group;
        sum_group<Use::yes, multiplication>([&](int i) { return at(start + i); }, factors + start,
                                            count, x0, x1, out);
    }
}

/// Factors of 1, those of plain means, need no multiplication: the bits are the same.
template <class At>
inline void sum_taps(At at, const float* factors, int taps, int x0, int x1, float* out) {
    bool ones = true;
    for (int i = 0; i < taps; ++i)
        ones &= factors[i] == 1.0F;
    if (ones)
        sum_all<Use::no>(at, factors, taps, x0, x1, out);
    else
        sum_all<Use::yes>(at, factors, taps, x0, x1, out);
}

void sum_rows(const float* const* rows, const float* factors, int taps, int x0, int x1,
              float* out) {
    sum_taps([rows](int i) { return rows[i]; }, factors, taps, x0, x1, out);
}

void sum_columns(const float* row, const float* factors, int taps, int n, float* out) {
    sum_taps([row](int i) { return row + i; }, factors, taps, 0, n, out);
}

void mean(const WindowSums& window_sums, const float* centre_weight, const FilterRow& filter_row,
          int n) {
    const WindowSums sums = window_sums;  // copies: what is stored below cannot change them
    const FilterRow row = filter_row;
    for (int x = 0; x < n; x += lanes) {
        if (x % chunk::pixels == 0) fetch_chunk<Use::yes>(row.next_out, x);
        const vfloat weights = load<vfloat>(sums.weights + x);
        const vint enough = load<vfloat>(sums.counts + x) >= row.rule.least_count;
        const vint filled = (weights > 0) & ((load<vfloat>(centre_weight + x) > 0) | enough);
        finish(row, x, visited(row, x), filled, load<vfloat>(sums.values + x) / weights);
    }
}

/// exp(-t) for t >= 0 to about 2e-7, 0 from 87 on and for NaN: 2^k times the series of the rest,
/// which is below ln(2) / 2.
inline vfloat exp_minus(const vfloat& t) {
    constexpr float limit = 87;
    constexpr float log2_e = 1.44269504F;
    constexpr float ln2_high = 0.693359375F;
    constexpr float ln2_low = -2.12194440e-4F;
    const vint inside = t < limit;
    const vfloat y = inside ? -t : vfloat{};
    const vint k = __builtin_convertvector(y * log2_e - 0.5F, vint);
    const vfloat whole = __builtin_convertvector(k, vfloat);
    const vfloat r = (y - whole * ln2_high) - whole * ln2_low;
    vfloat p = r * (1.0F / 720) + 1.0F / 120;
    p = p * r + 1.0F / 24;
    p = p * r + 1.0F / 6;
    p = p * r + 0.5F;
    p = p * r + 1.0F;
    p = p * r + 1.0F;
    constexpr int bias = 127;
    constexpr int fraction_bits = 23;
    const vfloat power = reinterpret_cast<vfloat>((k + bias) << fraction_bits);
    return inside ? p * power : vfloat{};
}

struct VectorSums {
    vfloat values{};
    vfloat weights{};
    vfloat counts{};
};

/// Sums over the window of the pixels from x on; `factor(value)` is multiplied to the weights.
template <class Factor>
inline VectorSums window_sums(const RangeWindow& window, int x, Factor factor) {
    VectorSums total;
    for (int j = 0; j < window.rows; ++j) {
        VectorSums sum;
        for (int i = 0; i < window.columns; ++i) {
            const vfloat value = load<vfloat>(window.values[j] + x + i);
            const vfloat valid = load<vfloat>(window.weights[j] + x + i);
            const vfloat weight = valid * window.column_factors[i] * factor(value);
            sum.values += weight != 0 ? value * weight : vfloat{};
            sum.weights += weight;
            sum.counts += valid;
        }
        total.values += sum.values * window.row_factors[j];
        total.weights += sum.weights * window.row_factors[j];
        total.counts += sum.counts;
    }
    return total;
}

void range_mean(const RangeWindow& window, const FilterRow& row, int x0, int n) {
    for (int x = x0; x < x0 + n; x += lanes) {
        const vint visit = visited(row, x);
        const vint valid = load<vfloat>(window.centre_weight + x) > 0;
        vfloat centre = load<vfloat>(window.centre + x);
        vint filled = valid;
        if (any(visit & ~valid)) {
            const VectorSums plain =
                window_sums(window, x, [](const vfloat&) { return vfloat{} + 1.0F; });
            centre = valid ? centre : plain.values / plain.weights;
            filled |= (plain.counts > 0) & (plain.counts >= row.rule.least_count);
        }
        const VectorSums sums = window_sums(window, x, [&](const vfloat& value) {
            const vfloat distance = (value - centre) * window.inverse_scale;
            return exp_minus(distance * distance);
        });
        finish(row, x, visit, filled, sums.weights > 0 ? sums.values / sums.weights : centre);
    }
}

}  // namespace

extern const FilterKernels filter_kernels;
const FilterKernels filter_kernels = {prepare, sum_rows, sum_columns, mean, range_mean};

}  // namespace vyn::VYN_ISA
