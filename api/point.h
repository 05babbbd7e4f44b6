#pragma once

namespace vyn {

/// A position on an image in pixels: x column, y row, pixel centres at whole numbers.
struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

}  // namespace vyn
