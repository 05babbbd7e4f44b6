// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "uncertainty/kernels/sigma_kernels.h"

#include <algorithm>
#include <cmath>

namespace vyn::VYN_ISA {

namespace {

constexpr int parts = 32;

void places(const double* __restrict above, const double* __restrict below, double share, int n,
            std::int32_t* __restrict out) {
    constexpr double farthest = 1e6;
    for (int i = 0; i < n; ++i) {
        const double between = above[i] + share * (below[i] - above[i]);
        // a lens that diverges shows the pixel nowhere; it is excluded
        const double position = std::abs(between) < farthest ? between : 0.0;
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

void nearest(int stride, int width, int height, const std::int32_t* __restrict x,
             const std::int32_t* __restrict y, int n, std::int32_t* __restrict place) {
    for (int i = 0; i < n; ++i) {
        const int column = (x[i] + parts / 2) >> 5;
        const int row = (y[i] + parts / 2) >> 5;
        const int in_x = column < 0 ? 0 : column;
        const int in_y = row < 0 ? 0 : row;
        place[i] = (in_y < height ? in_y : height - 1) * stride + (in_x < width ? in_x : width - 1);
    }
}

void gather(const float* __restrict plane, const std::int32_t* __restrict place, int n,
            float* __restrict out) {
    for (int i = 0; i < n; ++i)
        out[i] = plane[place[i]];
}

void gain(const float* __restrict table_x, const float* __restrict table_y,
          const std::int32_t* __restrict phase_x, const std::int32_t* __restrict phase_y, int n,
          float* __restrict out) {
    for (int i = 0; i < n; ++i)
        out[i] = table_x[phase_x[i]] * table_y[phase_y[i]];
}

void noise(const NoiseRow& row, const float* __restrict gain, int n, const NoiseSums& sums,
           float* __restrict own) {
    const float* __restrict intensity = row.intensity;
    const float* __restrict flat = row.flat;
    const float offset = row.offset + row.dark;
    const float slope = row.slope;
    const float relative2 = row.relative2;
    const float filter = row.filter;
    float* __restrict noise = sums.noise;
    float* __restrict white = sums.white;
    float* __restrict shot = sums.shot;
    float* __restrict largest = sums.largest;
    for (int i = 0; i < n; ++i) {
        const float signal = intensity[i] * flat[i];
        const float each = 1 / signal;
        const float light = signal > 0 ? signal : 0.0F;
        const float relative = (offset + slope * light) * each * each + relative2;
        const float of_pixel = filter * gain[i] * relative;
        own[i] = of_pixel;
        noise[i] += of_pixel;
        white[i] += relative;
        // below a count there is no light to speak of
        shot[i] += slope * (signal > 1 ? each : 1.0F);
    }
    for (int i = 0; i < n; ++i) {
        const float before = largest[i];
        const float now = own[i];
        largest[i] = now > before ? now : before;
    }
}

void measured_noise(const NoiseRow& row, const float* __restrict variance,
                    const float* __restrict gain, int n, const NoiseSums& sums,
                    float* __restrict own) {
    for (int i = 0; i < n; ++i) {
        const float signal = row.intensity[i] * row.flat[i];
        // not a number where too few frames tell
        const float of_frames = variance[i] >= 0 ? variance[i] * row.slope : 0.0F;
        const float relative = (row.dark + of_frames) / (signal * signal);
        own[i] = row.filter * gain[i] * relative;
        sums.noise[i] += own[i];
        sums.white[i] += relative;
        sums.largest[i] = std::max(sums.largest[i], own[i]);
    }
}

void shared(const float* __restrict table, int b_phases, int most_apart,
            const std::int32_t* __restrict phase_a, const std::int32_t* __restrict base_a,
            const std::int32_t* __restrict phase_b, const std::int32_t* __restrict base_b, int n,
            float* __restrict out) {
    const int across = 2 * most_apart + 1;
    for (int i = 0; i < n; ++i) {
        const int apart = base_b[i] - base_a[i];
        const int held = std::clamp(apart, -most_apart, most_apart);
        const float product =
            table[(phase_a[i] * b_phases + phase_b[i]) * across + held + most_apart];
        out[i] *= apart == held ? product : 0.0F;
    }
}

void common(const SharedRow& row, const float* __restrict correlation, int n, const NoiseSums& sums,
            float* __restrict flat, float* __restrict flat_white) {
    const float* __restrict gain_a = row.gain_a;
    const float* __restrict gain_b = row.gain_b;
    const float flat2 = row.flat2;
    for (int i = 0; i < n; ++i) {
        const float together = correlation[i] * std::sqrt(gain_a[i] * gain_b[i]);
        const float apart = gain_a[i] + gain_b[i] - 2 * together;
        const float alone = 1 - correlation[i];
        flat[i] += apart > 0 ? flat2 * apart : 0.0F;
        flat_white[i] += alone > 0 ? flat2 * 2 * alone : 0.0F;
    }
    if (row.dark == 0) return;
    for (int i = 0; i < n; ++i) {
        const float dark =
            2 * row.dark * correlation[i] /
            (row.intensity_a[i] * row.flat_a[i] * row.intensity_b[i] * row.flat_b[i]);
        sums.noise[i] -= std::sqrt(gain_a[i] * gain_b[i]) * dark;
        sums.white[i] -= dark;
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

constexpr int lanes = 8;

double sum(const float* row, int n) {
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

float largest_of(const float* row, int n) {
    float partial[lanes] = {};
    int i = 0;
    for (; i + lanes <= n; i += lanes)
        for (int k = 0; k < lanes; ++k)
            partial[k] = row[i + k] > partial[k] ? row[i + k] : partial[k];
    float all = 0;
    for (; i < n; ++i)
        all = std::max(all, row[i]);
    for (const float part : partial)
        all = std::max(all, part);
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
        noisy += ((mask[i] == 0) & (largest[i] > limit)) ? 1 : 0;
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
    if (c0 == 0 && c1 == 0 && c2 == 0 && c3 == 0 && c4 == 0) {
        std::fill_n(out, n, 0.0F);
        return;
    }
    for (int i = 0; i < n; ++i) {
        const double r = fa * static_cast<double>(ratio[i]);
        out[i] = static_cast<float>((((c4 * r + c3) * r + c2) * r + c1) * r + c0);
    }
    for (int i = 0; i < n; ++i)
        out[i] = mask[i] == 0 && out[i] > 0 ? scale2 * out[i] : 0.0F;
}

double value_at(const double (&coefficients)[5], double u) {
    const double(&c)[5] = coefficients;
    return (((c[4] * u + c[3]) * u + c[2]) * u + c[1]) * u + c[0];
}

double quartic_at(const double (&c)[5][5], double r, double u) {
    return (((value_at(c[4], u) * r + value_at(c[3], u)) * r + value_at(c[2], u)) * r +
            value_at(c[1], u)) *
               r +
           value_at(c[0], u);
}

void law_at(const LawRow& law, const LawOfTemperature& of_temperature, const float* ratio,
            const float* values, const float* sigma, const std::uint8_t* mask, int n,
            const TermRows& rows) {
    const LawOfTemperature by = of_temperature;
    const double scale2 = double(law.scale) * double(law.scale);
    const double fa = law.fa;
    float* __restrict temperature = rows.first + 4 * rows.stride;
    float* __restrict reference = rows.first + 5 * rows.stride;
    float* __restrict coefficients = rows.first + 6 * rows.stride;
    float* __restrict by_ratio = rows.first + 8 * rows.stride;
    for (int i = 0; i < n; ++i) {
        const double r = fa * static_cast<double>(ratio[i]);
        const double u = by.factor * static_cast<double>(values[i]) + by.offset;
        const double deviation = by.to_law * static_cast<double>(sigma[i]);
        const double slope =
            (value_at(by.by_log_ratio[2], u) * r + value_at(by.by_log_ratio[1], u)) * r;
        const double of_t = quartic_at(by.temperature, r, u) * deviation * deviation;
        const double of_reference = quartic_at(by.reference, r, u);
        const double of_law = quartic_at(by.law, r, u);
        const double valid = mask[i] == 0 ? scale2 : 0.0;
        by_ratio[i] = static_cast<float>(valid * slope * slope);
        temperature[i] = static_cast<float>(of_t > 0 ? valid * of_t : 0.0);
        reference[i] = static_cast<float>(of_reference > 0 ? valid * of_reference : 0.0);
        coefficients[i] = static_cast<float>(of_law > 0 ? valid * of_law : 0.0);
    }
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
    if (!law.given)
        for (int i = 0; i < n; ++i) {
            const float r = law.fa * ratio[i];
            const float slope = (law.by_log_ratio[2] * r + law.by_log_ratio[1]) * r;
            by_ratio[i] = mask[i] == 0 ? scale2 * slope * slope : 0.0F;
        }
    // Where nothing is to be seen a picture may be 0, and what is relative to it infinite.
    for (int i = 0; i < n; ++i) {
        noise[i] = mask[i] == 0 ? by_ratio[i] * in.noise[i] : 0.0F;
        flat[i] = mask[i] == 0 ? by_ratio[i] * in.flat[i] : 0.0F;
    }
    for (int i = 0; i < n; ++i) {
        registration[i] = mask[i] == 0 ? by_ratio[i] * in.registration[i] : 0.0F;
        lamp[i] = by_ratio[i] * in.lamp;
    }
    if (!law.given) {
        const auto fa = static_cast<double>(law.fa);
        quartic_row(law.temperature, fa, scale2, ratio, mask, n, temperature);
        quartic_row(law.reference, fa, scale2, ratio, mask, n, reference);
        quartic_row(law.law, fa, scale2, ratio, mask, n, coefficients);
    }
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
        const float white = mask[i] == 0 ? in.noise_white[i] + in.flat_white[i] : 0.0F;
        area[i] = std::sqrt(by_ratio[i] * white);
        by_ratio[i] *= mask[i] == 0 ? in.shot[i] : 0.0F;
    }
}

}  // namespace

extern const SigmaKernels sigma_kernels;
const SigmaKernels sigma_kernels{places,     phase,   base,           nearest,      gather,
                                 gain,       noise,   measured_noise, shared,       common,
                                 slope,      squares, column_sums,    registration, sum,
                                 largest_of, root,    tally,          law_at,       combine};

}  // namespace vyn::VYN_ISA
