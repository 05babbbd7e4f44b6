#pragma once

#include <cstdint>
#include <vector>

#include "align/dots/dot_fit.h"

namespace vyn {

/// How many of what looks like a dot, or hides one, lies on the panel of a scene.
struct DotClutter {
    int taps = 0;    ///< pressure taps: holes of less than half a dot's radius
    int screws = 0;  ///< slotted heads, two and more times as wide as a dot
    int scratches = 0;
    int specks = 0;    ///< faint, round or long, of a dot's size
    int blocks = 0;    ///< black bodies with a soft shadow beside them
    double shade = 0;  ///< share of the light that a soft shadow across the panel takes
};

/// A painted panel with dots, a hole, slits and a bar across it before dark ground, lit unevenly.
struct DotScene {
    int width = 480;
    int height = 360;
    int dots = 30;
    double min_radius = 1.5;  ///< pixels
    double max_radius = 6;
    double min_contrast = 0.3;
    double max_contrast = 0.9;
    double noise = 0.01;  ///< of the paint's value
    DotPolarity polarity = DotPolarity::dark;
    DotClutter clutter = {};
    std::uint64_t seed = 1;
};

struct DotPicture {
    image picture;
    std::vector<Point> centres;
};

DotPicture make_dot_picture(const DotScene& scene);

/// One of many panels with clutter: kind, size and contrast of the dots (alike on a panel, on some
/// of two sizes), noise, shade and what lies about follow from the number.
DotScene cluttered_scene(std::uint64_t number);

/// A flat or sloping background with one dot, each pixel the mean over its area.
image one_dot(Point centre, double radius, double contrast, double noise, DotPolarity polarity,
              std::uint64_t seed);

}  // namespace vyn
