#pragma once

#include <cstdint>
#include <vector>

#include "align/dots/dot_fit.h"

namespace vyn::test {

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
    std::uint64_t seed = 1;
};

struct DotPicture {
    image picture;
    std::vector<Point> centres;
};

DotPicture make_dot_picture(const DotScene& scene);

/// A flat or sloping background with one dot, each pixel the mean over its area.
image one_dot(Point centre, double radius, double contrast, double noise, DotPolarity polarity,
              std::uint64_t seed);

}  // namespace vyn::test
