// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "uncertainty/kernels/sigma_kernels.h"

#include <algorithm>
#include <cmath>

#include "api/kernels/vectors.h"
#include "uncertainty/median_variance.h"

namespace vyn::VYN_ISA {

namespace {

constexpr int parts = 32;

void in_parts(int n, double* positions) {
    constexpr double farthest = 1e6;
    for (int i = 0; i < n; ++i) {
        // a lens that diverges shows the pixel nowhere; it is excluded
        const double position = std::abs(positions[i]) < farthest ? positions[i] : 0.0;
        positions[i] = parts * position;
    }
}

void places(const double* __restrict above, const double* __restrict below, double share, int n,
            std::int32_t* __restrict out) {
    for (int i = 0; i < n; ++i) {
        const double between = above[i] + share * (below[i] - above[i]);
        out[i] = static_cast<std::int32_t>(std::floor(between + 0.5));
    }
}

/// Phases of places in a table of one or, for two samplings, of both one after the other.
template <bool twice>
inline vint phase_of(PlaceRow place, int i) {
    const vint camera = load<vint>(place.camera + i);
    if constexpr (!twice) return camera & (parts - 1);
    const vint second = load<vint>(place.undistorted + i) & (parts - 1);
    return ((camera - second) & (parts - 1)) * parts + second;
}

/// An entry of a table of as many as there are parts.
inline vfloat entry_of(const float* table, const vint& part) {
    if constexpr (2 * lanes == parts)
        return permuted(load<vfloat>(table), load<vfloat>(table + lanes), part);
    else
        return gathered(table, part);
}

void gain(const float* table_x, const float* table_y, PlaceRow x, PlaceRow y, int n, float* out) {
    if (x.undistorted)
        for (int i = 0; i < n; i += lanes)
            store(out + i, gathered(table_x, phase_of<true>(x, i)) *
                               gathered(table_y, phase_of<true>(y, i)));
    else
        for (int i = 0; i < n; i += lanes)
            store(out + i, entry_of(table_x, phase_of<false>(x, i)) *
                               entry_of(table_y, phase_of<false>(y, i)));
}

inline vint clamped(const vint& v, int least, int most) {
    const vint low = v < least ? vint{} + least : v;
    return low > most ? vint{} + most : low;
}

void nearest(const SigmaPlane& plane, const std::int32_t* x, const std::int32_t* y, int n,
             float* out) {
    for (int i = 0; i < n; i += lanes) {
        const vint column = (load<vint>(x + i) + parts / 2) >> 5;
        const vint row = (load<vint>(y + i) + parts / 2) >> 5;
        const vint place =
            clamped(row, 0, plane.height - 1) * plane.stride + clamped(column, 0, plane.width - 1);
        store(out + i, gathered(plane.first, place));
    }
}

void noise(const NoiseRow& row, const float* __restrict gain, int n, const NoiseSums& sums,
           float* __restrict own) {
    const float* __restrict intensity = row.intensity;
    const float* __restrict flat = row.flat;
    const float offset = row.offset + row.dark;
    const float slope = row.slope;
    const float relative2 = row.relative2;
    float* __restrict noise = sums.noise;
    float* __restrict white = sums.white;
    float* __restrict shot = sums.shot;
    float* __restrict largest = sums.largest;
    for (int i = 0; i < n; ++i) {
        const float signal = intensity[i] * flat[i];
        const float each = 1 / signal;
        const float light = signal > 0 ? signal : 0.0F;
        const float relative = (offset + slope * light) * each * each + relative2;
        const float of_pixel = gain[i] * relative;
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
        own[i] = gain[i] * relative;
        sums.noise[i] += own[i];
        sums.white[i] += relative;
        sums.largest[i] = std::max(sums.largest[i], own[i]);
    }
}

/// The entry of an axis' table at the phases of a and b, in 16th parts, and the whole pixels
/// between their bases; 0 beyond.
template <bool b_twice>
inline vfloat along(const SharedAxis& axis, int i) {
    const vint place_a = load<vint>(axis.camera_a + i);
    vint place_b = load<vint>(axis.b.camera + i);
    vint second{};
    if constexpr (b_twice) {
        second = load<vint>(axis.b.undistorted + i) & (parts - 1);
        place_b -= second;
    }
    const vint phase_a = (place_a & (parts - 1)) >> 1;
    const vint phase_b = ((place_b & (parts - 1)) >> 1) * axis.b_seconds + (second >> 1);
    const vint apart = (place_b >> 5) - (place_a >> 5);
    const vint held = clamped(apart, -axis.most_apart, axis.most_apart);
    const int across = 2 * axis.most_apart + 1;
    const vint number = (phase_a * axis.b_phases + phase_b) * across + held + axis.most_apart;
    return apart == held ? gathered(axis.table, number) : vfloat{};
}

template <bool b_twice>
inline void correlate(const SharedRow& row, int n, float* correlation) {
    const SharedAxis x = row.x;
    const SharedAxis y = row.y;
    for (int i = 0; i < n; i += lanes)
        store(correlation + i, along<b_twice>(x, i) * along<b_twice>(y, i));
}

void shared(const SharedRow& row, int n, const NoiseSums& sums, float* __restrict flat,
            float* __restrict flat_white) {
    float correlation[sigma_piece];
    if (row.x.b.undistorted)
        correlate<true>(row, n, correlation);
    else
        correlate<false>(row, n, correlation);
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

/// Of the pixels one, two and three away, on either side.
constexpr float slope_weights[3] = {0.8038475F, -0.2153903F, 0.0423110F};

/// What it makes of independent noise of variance 1.
constexpr float slope_noise =
    2 * (slope_weights[0] * slope_weights[0] + slope_weights[1] * slope_weights[1] +
         slope_weights[2] * slope_weights[2]);

/// Of the picture's logarithm.
struct Slopes {
    Slopes(const SlopeRow& picture, int i) {
        const float* middle = picture.middle + i;
        for (int far = 1; far <= 3; ++far) {
            x += slope_weights[far - 1] * (load<vfloat>(middle + far) - load<vfloat>(middle - far));
            y += slope_weights[far - 1] * (load<vfloat>(picture.across[far - 1] + i) -
                                           load<vfloat>(picture.across[far + 2] + i));
        }
        const vfloat each = 1 / load<vfloat>(middle);
        x *= each;
        y *= each;
    }
    vfloat x{};
    vfloat y{};
};

void unfiltered(const float* own, const float* gain, const float* plain, int n, float* out) {
    for (int i = 0; i < n; i += lanes)
        store(out + i, load<vfloat>(own + i) / load<vfloat>(gain + i) * load<vfloat>(plain + i));
}

void median(const MedianRow& row, int n, const NoiseSums& sums, float* __restrict own) {
    constexpr int bits_below = 23 - 2;  // a fourth of an octave
    static_assert(median_variance::entries_per_octave == 4);
    constexpr int first = (127 + median_variance::first_octave) * 4;
    for (int i = 0; i < n; i += lanes) {
        const Slopes slopes(row.picture, i);
        const vfloat before = load<vfloat>(own + i);
        const vfloat of_pixel = before / load<vfloat>(row.gain + i);
        const vfloat steep = (slopes.x * slopes.x + slopes.y * slopes.y -
                              2 * slope_noise * load<vfloat>(row.shown + i)) /
                             (of_pixel * row.before);
        const vint entry = clamped((__builtin_bit_cast(vint, steep) >> bits_below) - first, 0,
                                   median_variance::entries - 1);
        const vfloat now =
            before + of_pixel * load<vfloat>(row.plain + i) * gathered(row.table, entry);
        store(own + i, now);
        store(sums.noise + i, load<vfloat>(sums.noise + i) + (now - before));
        const vfloat largest = load<vfloat>(sums.largest + i);
        store(sums.largest + i, now > largest ? now : largest);
    }
}

void registration(const RegistrationRow& row, int n, float* __restrict variance) {
    const auto not_negative = [](const vfloat& v) { return v > 0 ? v : vfloat{}; };
    for (int i = 0; i < n; i += lanes) {
        vfloat along_x{};
        vfloat along_y{};
        vfloat of_noise{};
        for (int k = 0; k < row.count; ++k) {
            const RegistrationRow::Part& part = row.parts[k];
            const Slopes slopes(part.picture, i);
            along_x += part.sign * slopes.x;
            along_y += part.sign * slopes.y;
            of_noise += slope_noise * load<vfloat>(part.shown + i);
        }
        const vfloat added =
            not_negative(along_x * along_x - of_noise) * load<vfloat>(row.var_x + i) +
            not_negative(along_y * along_y - of_noise) * load<vfloat>(row.var_y + i);
        store(variance + i, load<vfloat>(variance + i) + added);
    }
}

}  // namespace

extern const SigmaKernels sigma_kernels;
const SigmaKernels sigma_kernels{in_parts,       places,     gain,   nearest, noise,
                                 measured_noise, unfiltered, median, shared,  registration};

}  // namespace vyn::VYN_ISA
