#pragma once

#include <cmath>
#include <vector>

#include "api/image.h"
#include "api/point.h"
#include "tests/support/picture_of.h"

namespace vyn::test {

/// Dark round dots of radius 3 px, Gaussian in profile, on paint of 1000 counts.
inline image dotted_image(int width, int height, const std::vector<Point>& dots) {
    return picture_of(width, height, [&](int x, int y) {
        double value = 1000;
        for (const Point& dot : dots)
            value -= 600 * std::exp(-(std::pow(x - dot.x, 2) + std::pow(y - dot.y, 2)) / 9);
        return value;
    });
}

}  // namespace vyn::test
