#pragma once

namespace vyn {

/// Weights of the degree + 1 samples around a position, from left to right, for a scalar or vector
/// `Real`: the pieces of the uniform B-splines (Unser 1999). `t` is the distance from the left one
/// of the two inner samples, 0 to 1, for odd degrees and from the middle sample, -1/2 to 1/2, for
/// even ones.
template <int degree, class Real>
static inline void spline_weights(const Real& t, Real (&w)[degree + 1]) {
    static_assert(degree >= 2 && degree <= 5);
    if constexpr (degree == 2) {
        const Real left = 0.5f - t;
        const Real right = 0.5f + t;
        w[0] = left * left * 0.5f;
        w[1] = 0.75f - t * t;
        w[2] = right * right * 0.5f;
    } else if constexpr (degree == 3) {
        const Real s = 1.0f - t;
        const Real s2 = s * s;
        const Real t2 = t * t;
        w[0] = s2 * s * (1.0f / 6);
        w[3] = t2 * t * (1.0f / 6);
        w[1] = (2.0f / 3 - t2) + w[3] * 3.0f;
        w[2] = (2.0f / 3 - s2) + w[0] * 3.0f;
    } else if constexpr (degree == 4) {
        const Real t2 = t * t;
        const Real left = (0.5f - t) * (0.5f - t);
        const Real right = (0.5f + t) * (0.5f + t);
        const Real even = (0.25f - t2 * (1.0f / 6)) * t2 + 19.0f / 96;
        const Real odd = (11.0f / 24 - t2 * (1.0f / 6)) * t;
        w[0] = left * left * (1.0f / 24);
        w[1] = even - odd;
        w[2] = (t2 * 0.25f - 0.625f) * t2 + 115.0f / 192;
        w[3] = even + odd;
        w[4] = right * right * (1.0f / 24);
    } else {
        const Real s = 1.0f - t;
        const Real s2 = s * s;
        const Real t2 = t * t;
        const Real m = t - 0.5f;
        const Real m2 = m * m;
        const Real inner_even = (m2 * (1.0f / 24) - 11.0f / 48) * m2 + 841.0f / 1920;
        const Real inner_odd = ((m2 * (1.0f / 12) - 7.0f / 24) * m2 + 77.0f / 192) * m;
        const Real outer_even = (7.0f / 32 - m2 * (1.0f / 16)) * m2 + 79.0f / 1280;
        const Real outer_odd = ((1.0f / 16 - m2 * (1.0f / 24)) * m2 + 25.0f / 128) * m;
        w[0] = s2 * s2 * s * (1.0f / 120);
        w[1] = outer_even - outer_odd;
        w[2] = inner_even - inner_odd;
        w[3] = inner_even + inner_odd;
        w[4] = outer_even + outer_odd;
        w[5] = t2 * t2 * t * (1.0f / 120);
    }
}

}  // namespace vyn
