#pragma once

namespace vyn {

/// A position on an image in pixels: x column, y row, pixel centres at whole numbers.
struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

/// Local derivative of a mapping of positions: `xy` is how far x moves per pixel of y.
struct Jacobian {
    double xx = 1;
    double xy = 0;
    double yx = 0;
    double yy = 1;
};

}  // namespace vyn
