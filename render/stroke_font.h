#pragma once

#include <string_view>
#include <vector>

#include "api/point.h"

namespace vyn {

/// A line through points.
using Stroke = std::vector<Point>;

/// A text as strokes of a pen, so that pictures have letters without a font of the system.
/// Coordinates in units of the height of capitals; x from the text's left end, y upwards from its
/// base line. Printable ASCII; every other character becomes "?".
struct StrokeText {
    std::vector<Stroke> strokes;
    double width = 0;
};

/// Width of the pen, in the same units.
inline constexpr double stroke_text_pen = 0.115;

StrokeText stroke_text(std::string_view text);

}  // namespace vyn
