#pragma once

#include <cmath>

namespace vyn {

/// Place of a peak between three neighbouring samples, the middle one the largest, in samples from
/// the middle one: that of a Gaussian through them (Willert & Gharib 1991), or of a parabola where
/// they are not all clearly positive.
inline double subpixel_peak(double before, double middle, double behind) {
    constexpr double clearly_positive = 0.02;
    if (before > clearly_positive && middle > clearly_positive && behind > clearly_positive) {
        before = std::log(before);
        middle = std::log(middle);
        behind = std::log(behind);
    }
    const double bend = before - 2 * middle + behind;
    return bend < 0 ? 0.5 * (before - behind) / bend : 0;
}

}  // namespace vyn
