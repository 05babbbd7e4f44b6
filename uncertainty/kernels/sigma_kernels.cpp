// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "uncertainty/kernels/sigma_kernels.h"

#include <algorithm>
#include <cmath>

namespace vyn::VYN_ISA {

namespace {

constexpr int parts = 32;

void places(const double* positions, int n, std::int32_t* __restrict out) {
    constexpr double farthest = 1e6;
    for (int i = 0; i < n; ++i) {
        // a lens that diverges shows the pixel nowhere; it is excluded
        const double position = std::abs(positions[i]) < farthest ? positions[i] : 0.0;
        out[i] = static_cast<std::int32_t>(std::floor(position * parts + 0.5));
    }
}

void phase(PlaceRow place, int seconds, int shift, int n, std::int32_t* out) {
    if (!place.undistorted) {
        for (int i = 0; i < n; ++i)
            out[i] = (place.camera[i] & (parts - 1)) >> shift;
    } else {
        for (int i = 0; i < n; ++i) {
            const std::int32_t second = place.undistorted[i] & (parts - 1);
            const std::int32_t first = (place.camera[i] - second) & (parts - 1);
            out[i] = (first >> shift) * seconds + (second >> shift);
        }
    }
}

void base(PlaceRow place, int n, std::int32_t* out) {
    if (!place.undistorted) {
        for (int i = 0; i < n; ++i)
            out[i] = place.camera[i] >> 5;
    } else {
        for (int i = 0; i < n; ++i)
            out[i] = (place.camera[i] - (place.undistorted[i] & (parts - 1))) >> 5;
    }
}

void nearest(const float* plane, std::ptrdiff_t stride, int width, int height,
             const std::int32_t* x, const std::int32_t* y, int n, float* out) {
    for (int i = 0; i < n; ++i) {
        const int column = std::clamp((x[i] + parts / 2) >> 5, 0, width - 1);
        const int row = std::clamp((y[i] + parts / 2) >> 5, 0, height - 1);
        out[i] = plane[row * stride + column];
    }
}

void gain(const float* table_x, const float* table_y, const std::int32_t* phase_x,
          const std::int32_t* phase_y, int n, float* out) {
    for (int i = 0; i < n; ++i)
        out[i] = table_x[phase_x[i]] * table_y[phase_y[i]];
}

/// `measured` is a row or nothing, as a type: the loop has no branches.
template <class Measured>
void add_noise(const NoiseRow row, const float* gain, int n, Measured measured,
               const NoiseSums sums, float* __restrict own) {
    const float* __restrict intensity = row.intensity;
    const float* __restrict flat = row.flat;
    float* __restrict noise = sums.noise;
    float* __restrict white = sums.white;
    float* __restrict shot = sums.shot;
    float* __restrict largest = sums.largest;
    for (int i = 0; i < n; ++i) {
        const float signal = intensity[i] * flat[i];
        const float light = std::max(signal, 0.0F);
        const float variance = row.dark + measured(i, row.offset + row.slope * light);
        const float relative = variance / (signal * signal) + row.relative2;
        const float of_pixel = row.filter * gain[i] * relative;
        own[i] = of_pixel;
        noise[i] += of_pixel;
        white[i] += relative;
        shot[i] += row.slope / std::max(signal, 1.0F);
        largest[i] = std::max(largest[i], of_pixel);
    }
}

void noise(const NoiseRow& row, const float* gain, int n, const NoiseSums& sums, float* own) {
    if (row.measured)
        add_noise(
            row, gain, n, [measured = row.measured](int i, float) { return measured[i]; }, sums,
            own);
    else
        add_noise(
            row, gain, n, [](int, float of_line) { return of_line; }, sums, own);
}

void shared(const float* table, int b_phases, int most_apart, const std::int32_t* phase_a,
            const std::int32_t* base_a, const std::int32_t* phase_b, const std::int32_t* base_b,
            int n, float* __restrict out) {
    const int across = 2 * most_apart + 1;
    for (int i = 0; i < n; ++i) {
        const int apart = base_b[i] - base_a[i];
        const int held = std::clamp(apart, -most_apart, most_apart);
        const float product =
            table[(phase_a[i] * b_phases + phase_b[i]) * across + held + most_apart];
        out[i] *= apart == held ? product : 0.0F;
    }
}

void common(const SharedRow& shared_row, const float* correlation, int n, const NoiseSums& sums,
            float* __restrict flat, float* __restrict flat_white) {
    const SharedRow row = shared_row;
    float* __restrict noise = sums.noise;
    float* __restrict white = sums.white;
    for (int i = 0; i < n; ++i) {
        const float gains = row.gain_a[i] + row.gain_b[i];
        const float together = correlation[i] * std::sqrt(row.gain_a[i] * row.gain_b[i]);
        flat[i] += row.flat2 * std::max(gains - 2 * together, 0.0F);
        flat_white[i] += row.flat2 * 2 * std::max(1 - correlation[i], 0.0F);
        const float dark =
            2 * row.dark /
            (row.intensity_a[i] * row.flat_a[i] * row.intensity_b[i] * row.flat_b[i]);
        noise[i] -= together * dark;
        white[i] -= correlation[i] * dark;
    }
}

void slope(const float* above, const float* middle, const float* below,
           const std::uint8_t* mask_above, const std::uint8_t* mask_middle,
           const std::uint8_t* mask_below, float sign, int n, float* __restrict along_x,
           float* __restrict along_y, float* __restrict valid) {
    valid[0] = 0;
    valid[n - 1] = 0;
    for (int i = 1; i < n - 1; ++i) {
        const float scale = sign / (2 * middle[i]);
        along_x[i] += (middle[i + 1] - middle[i - 1]) * scale;
        along_y[i] += (below[i] - above[i]) * scale;
        const int excluded = mask_above[i] | mask_below[i] | mask_middle[i] | mask_middle[i - 1] |
                             mask_middle[i + 1];
        valid[i] = excluded != 0 ? 0.0F : valid[i];
    }
}

void squares(int n, float* __restrict along_x, float* __restrict along_y,
             const float* __restrict valid) {
    for (int i = 0; i < n; ++i) {
        const bool known = valid[i] != 0;
        along_x[i] = known ? along_x[i] * along_x[i] : 0.0F;
        along_y[i] = known ? along_y[i] * along_y[i] : 0.0F;
    }
}

void column_sums(ThreeRows rows, int n, float* __restrict out) {
    for (int i = 0; i < n; ++i)
        out[i] = rows.above[i] + rows.middle[i] + rows.below[i];
}

void registration(const SlopeSums& sums, const float* of_difference, const float* var_x,
                  const float* var_y, int n, float* __restrict variance) {
    const float* __restrict x = sums.x;
    const float* __restrict y = sums.y;
    const float* __restrict count = sums.count;
    const auto add = [&](int i, int left, int right) {
        const float known = count[left] + count[i] + count[right];
        const float each = known > 0 ? 1 / known : 0.0F;
        const float mean_x = (x[left] + x[i] + x[right]) * each - of_difference[i];
        const float mean_y = (y[left] + y[i] + y[right]) * each - of_difference[i];
        variance[i] += std::max(mean_x, 0.0F) * var_x[i] + std::max(mean_y, 0.0F) * var_y[i];
    };
    // the outermost columns have no slopes of their own and take those beside
    add(0, 0, std::min(1, n - 1));
    for (int i = 1; i < n - 1; ++i)
        add(i, i - 1, i + 1);
    if (n > 1) add(n - 1, n - 2, n - 1);
}

double sum(const float* row, int n) {
    constexpr int lanes = 8;
    double partial[lanes] = {};
    int i = 0;
    for (; i + lanes <= n; i += lanes)
        for (int k = 0; k < lanes; ++k)
            partial[k] += row[i + k];
    double all = 0;
    for (; i < n; ++i)
        all += row[i];
    for (const double part : partial)
        all += part;
    return all;
}

void root(const float* row, int n, float* __restrict out) {
    for (int i = 0; i < n; ++i)
        out[i] = std::sqrt(row[i]);
}

void tally(const float* largest, const std::uint8_t* mask, int n, float limit, int* valid,
           int* above) {
    int count = 0;
    int noisy = 0;
    for (int i = 0; i < n; ++i) {
        count += mask[i] == 0 ? 1 : 0;
        noisy += (mask[i] == 0) & (largest[i] > limit) ? 1 : 0;
    }
    *valid = count;
    *above = noisy;
}

/// A variance that is a polynomial in r = fa * ratio; in double, for the terms of a fitted law
/// cancel each other.
void quartic_row(const double* coefficients, double fa, float scale2, const float* ratio,
                 const std::uint8_t* mask, int n, float* __restrict out) {
    const double c0 = coefficients[0];
    const double c1 = coefficients[1];
    const double c2 = coefficients[2];
    const double c3 = coefficients[3];
    const double c4 = coefficients[4];
    for (int i = 0; i < n; ++i) {
        const double r = fa * static_cast<double>(ratio[i]);
        out[i] = static_cast<float>((((c4 * r + c3) * r + c2) * r + c1) * r + c0);
    }
    for (int i = 0; i < n; ++i)
        out[i] = mask[i] == 0 && out[i] > 0 ? scale2 * out[i] : 0.0F;
}

void combine(const LawRow& law_row, const RatioVarianceRow& variances, const float* ratio,
             const float* value, const std::uint8_t* mask, int n, const TermRows& rows,
             float* __restrict total, float* __restrict common, float* __restrict area) {
    const LawRow law = law_row;
    const RatioVarianceRow in = variances;
    const float scale2 = law.scale * law.scale;
    const auto row = [&rows](int term) { return rows.first + term * rows.stride; };
    float* __restrict noise = row(0);
    float* __restrict flat = row(1);
    float* __restrict registration = row(2);
    float* __restrict lamp = row(3);
    float* __restrict temperature = row(4);
    float* __restrict reference = row(5);
    float* __restrict coefficients = row(6);
    float* __restrict conditions = row(7);
    float* __restrict by_ratio = row(8);
    for (int i = 0; i < n; ++i) {
        const float r = law.fa * ratio[i];
        const float slope = (law.by_log_ratio[2] * r + law.by_log_ratio[1]) * r;
        by_ratio[i] = mask[i] == 0 ? scale2 * slope * slope : 0.0F;
    }
    for (int i = 0; i < n; ++i) {
        noise[i] = by_ratio[i] * in.noise[i];
        flat[i] = by_ratio[i] * in.flat[i];
    }
    for (int i = 0; i < n; ++i) {
        registration[i] = by_ratio[i] * in.registration[i];
        lamp[i] = by_ratio[i] * in.lamp;
    }
    const auto fa = static_cast<double>(law.fa);
    quartic_row(law.temperature, fa, scale2, ratio, mask, n, temperature);
    quartic_row(law.reference, fa, scale2, ratio, mask, n, reference);
    quartic_row(law.law, fa, scale2, ratio, mask, n, coefficients);
    for (int i = 0; i < n; ++i) {
        const float divided = law.shift2 + law.of_value2 * value[i] * value[i];
        conditions[i] = mask[i] == 0 ? divided : 0.0F;
    }
    for (int i = 0; i < n; ++i) {
        const float shared_variance = registration[i] + lamp[i] + temperature[i] + reference[i] +
                                      coefficients[i] + conditions[i];
        common[i] = std::sqrt(shared_variance);
        total[i] = std::sqrt(noise[i] + flat[i] + shared_variance);
    }
    for (int i = 0; i < n; ++i) {
        area[i] = std::sqrt(by_ratio[i] * (in.noise_white[i] + in.flat_white[i]));
        by_ratio[i] *= in.shot[i];
    }
}

}  // namespace

extern const SigmaKernels sigma_kernels;
const SigmaKernels sigma_kernels{places, phase,  base,  nearest, gain,        noise,
                                 shared, common, slope, squares, column_sums, registration,
                                 sum,    root,   tally, combine};

}  // namespace vyn::VYN_ISA
