#pragma once

#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "api/image.h"
#include "api/point.h"

namespace vyn {

/// One place of a profile.
struct ProfileSample {
    double distance = 0;  ///< from the line's start, pixels
    Point place;          ///< on the line
    double value = 0;     ///< NaN where every pixel asked for is excluded or outside
    double sigma = std::numeric_limits<double>::quiet_NaN();  ///< of the value; NaN: not known
};

/// Values along a straight line over an image.
struct LineProfile {
    Point from;
    Point to;
    double length = 0;  ///< pixels
    std::vector<ProfileSample> samples;
};

/// The longest line that is sampled and the widest band that is averaged, pixels.
inline constexpr double longest_profile = 1e5;
inline constexpr int widest_profile = 201;

/// Values at equal distances of at most one pixel, both ends included: bilinear between the four
/// pixels about a place, or the mean of `width` such values side by side across the line, one pixel
/// apart. A value counts only where none of the pixels that it takes part of is excluded or
/// outside. Raises AlgoError for positions that are not finite, a line too long or a width out of
/// range.
LineProfile sample_profile(const image& picture, Point from, Point to, int width);

/// Standard deviations beside an image, of its size.
struct ProfileSigmas {
    const image& total;
    const image& common;  ///< the same over an area
    const image& area;    ///< of the random part, as it averages out
};
/// Gives the samples of a profile of that width their standard deviations: a pixel's own, and of a
/// mean across the line the common part and the random one over the root of the number.
void add_sigmas(LineProfile& profile, const ProfileSigmas& sigmas, int width);

/// The stretches of a profile between its gaps; they live as long as the profile.
std::vector<std::span<const ProfileSample>> unbroken_parts(const LineProfile& profile);

/// The value at a distance from the line's start, linear between two samples; nothing in a gap or
/// beyond the line.
std::optional<double> value_at(const LineProfile& profile, double distance);

/// The profiles below each other as comma-separated values with one head line: line, distance, x,
/// y, value, and sigma where one of them has it; a gap has an empty value. Numbers read back to the
/// same bits.
///
/// `names`: the number of each profile's line and the image that it is of, which stands in a
/// further column behind; without, the profiles are of lines 1, 2, ... of one image.
struct ProfileName {
    std::size_t line = 1;
    std::string image;
};
std::string profile_csv(std::span<const LineProfile> profiles,
                        std::span<const ProfileName> names = {});

}  // namespace vyn
