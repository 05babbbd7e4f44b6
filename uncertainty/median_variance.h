#pragma once

#include <vector>

#include "api/filters.h"

namespace vyn {

/// What a median leaves of noise beyond what the mean of its window does. On level ground it is
/// pi / 2 - 1 of a pixel's share in the mean (Kenney & Keeping 1962); on a ramp only the pixels
/// along its contour line compete, on a steep one the middle pixel alone. It has no part in what
/// makes neighbours alike: noise that was interpolated before or is after loses as much of it as of
/// independent noise.
namespace median_variance {

/// Entries of the table stand for squares of slope over noise, a fourth of an octave apart.
constexpr int entries = 64;
constexpr int entries_per_octave = 4;
/// The first entry is for slopes below 2^(first_octave / 2) standard deviations a pixel.
constexpr int first_octave = -7;

/// The excess over the variance of a single pixel. For pixels x_i along the slope s with noise of
/// deviation 1 a median has sum F_i (1 - F_i) / (sum f_i)^2 with F and f the normal distribution
/// and its density at s x_i (the median of a sum of distributions, to first order), less the share
/// 0.57 / (m + 0.57) that it is too large by for the m = sum f_i / f(0) pixels that compete; mean
/// over directions.
std::vector<float> table(const FilterOptions& median);

}  // namespace median_variance

}  // namespace vyn
