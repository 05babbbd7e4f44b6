// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "uncertainty/kernels/sigma_kernels.h"

#include <algorithm>
#include <cmath>

namespace vyn::VYN_ISA {

namespace {

constexpr int parts = 32;

void places(const double* positions, int n, std::int32_t* out) {
    for (int i = 0; i < n; ++i)
        out[i] = static_cast<std::int32_t>(std::floor(positions[i] * parts + 0.5));
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

void noise(const NoiseRow& row, const float* gain, int n, float* own, float* noise, float* white,
           float* shot) {
    for (int i = 0; i < n; ++i) {
        const float signal = row.intensity[i] * row.flat[i];
        const float of_line = row.offset + row.slope * std::max(signal, 0.0F);
        const float variance = row.dark + (row.measured ? row.measured[i] : of_line);
        const float relative = variance / (signal * signal) + row.relative2;
        own[i] = row.filter * gain[i] * relative;
        noise[i] += own[i];
        white[i] += relative;
        shot[i] += row.slope / std::max(signal, 1.0F);
    }
}

void shared(const float* table, int b_phases, int most_apart, const std::int32_t* phase_a,
            const std::int32_t* base_a, const std::int32_t* phase_b, const std::int32_t* base_b,
            int n, float* out) {
    const int across = 2 * most_apart + 1;
    for (int i = 0; i < n; ++i) {
        const int apart = base_b[i] - base_a[i];
        const int held = std::clamp(apart, -most_apart, most_apart);
        const float product =
            table[(phase_a[i] * b_phases + phase_b[i]) * across + held + most_apart];
        out[i] *= apart == held ? product : 0.0F;
    }
}

void common(const SharedRow& row, const float* correlation, int n, float* noise, float* white,
            float* flat, float* flat_white) {
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
           const std::uint8_t* mask_below, float sign, int n, float* along_x, float* along_y,
           float* valid) {
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

void squares(int n, float* along_x, float* along_y, float* valid) {
    for (int i = 0; i < n; ++i) {
        const bool known = valid[i] != 0;
        along_x[i] = known ? along_x[i] * along_x[i] : 0.0F;
        along_y[i] = known ? along_y[i] * along_y[i] : 0.0F;
    }
}

inline float three(ThreeRows rows, int i) {
    return rows.above[i] + rows.middle[i] + rows.below[i];
}

void registration(ThreeRows x, ThreeRows y, ThreeRows valid, const float* of_difference,
                  const float* var_x, const float* var_y, int n, float* variance) {
    for (int i = 0; i < n; ++i) {
        // the outermost columns have no slopes of their own and take those beside
        const int left = std::max(i - 1, 0);
        const int right = std::min(i + 1, n - 1);
        const float count = three(valid, left) + three(valid, i) + three(valid, right);
        const float each = count > 0 ? 1 / count : 0.0F;
        const float sum_x = three(x, left) + three(x, i) + three(x, right);
        const float sum_y = three(y, left) + three(y, i) + three(y, right);
        variance[i] += std::max(sum_x * each - of_difference[i], 0.0F) * var_x[i] +
                       std::max(sum_y * each - of_difference[i], 0.0F) * var_y[i];
    }
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

void root(const float* row, int n, float* out) {
    for (int i = 0; i < n; ++i)
        out[i] = std::sqrt(row[i]);
}

/// In double: the terms of a fitted law cancel each other.
inline float quartic(const double* c, float r) {
    const double x = r;
    return static_cast<float>(
        std::max((((c[4] * x + c[3]) * x + c[2]) * x + c[1]) * x + c[0], 0.0));
}

void combine(const LawRow& law, const RatioVarianceRow& in, const float* ratio, const float* value,
             const std::uint8_t* mask, int n, float* __restrict terms, float* __restrict total,
             float* __restrict common, float* __restrict area) {
    const float scale2 = law.scale * law.scale;
    for (int i = 0; i < n; ++i) {
        const float r = law.fa * ratio[i];
        const float slope = (law.by_log_ratio[2] * r + law.by_log_ratio[1]) * r;
        const float by_ratio = scale2 * slope * slope;
        const bool valid = mask[i] == 0;
        const auto kept = [valid](float variance) { return valid ? variance : 0.0F; };
        const float of_noise = kept(by_ratio * in.noise[i]);
        const float of_flat = kept(by_ratio * in.flat[i]);
        const float of_registration = kept(by_ratio * in.registration[i]);
        const float of_lamp = kept(by_ratio * in.lamp);
        const float of_temperature = kept(scale2 * quartic(law.temperature, r));
        const float of_reference = kept(scale2 * quartic(law.reference, r));
        const float of_law = kept(scale2 * quartic(law.law, r));
        const float of_conditions = kept(law.shift2 + law.of_value2 * value[i] * value[i]);
        terms[i] = of_noise;
        terms[n + i] = of_flat;
        terms[2 * n + i] = of_registration;
        terms[3 * n + i] = of_lamp;
        terms[4 * n + i] = of_temperature;
        terms[5 * n + i] = of_reference;
        terms[6 * n + i] = of_law;
        terms[7 * n + i] = of_conditions;
        const float shared_variance =
            of_registration + of_lamp + of_temperature + of_reference + of_law + of_conditions;
        terms[8 * n + i] = kept(by_ratio * in.shot[i]);
        common[i] = std::sqrt(shared_variance);
        total[i] = std::sqrt(of_noise + of_flat + shared_variance);
        area[i] = std::sqrt(kept(by_ratio * (in.noise_white[i] + in.flat_white[i])));
    }
}

}  // namespace

extern const SigmaKernels sigma_kernels;
const SigmaKernels sigma_kernels{places, phase, base,    nearest,      gain, noise, shared,
                                 common, slope, squares, registration, sum,  root,  combine};

}  // namespace vyn::VYN_ISA
