#pragma once

#include <functional>
#include <string>
#include <vector>

#include "render/iso_lines.h"

namespace vyn {

/// The number of a level, its middle on the line.
struct IsoLabel {
    double level = 0;
    std::string text;
    Point middle;
    double width = 0;  ///< of the place kept free for it
    double height = 0;
};

/// Lines with their numbers, cut where these stand.
struct IsoDrawing {
    std::vector<IsoLine> lines;
    std::vector<IsoLabel> labels;
};

/// What letters need, in the unit of the lines' places.
struct IsoLettering {
    double height = 12;
    std::function<double(const std::string&)> width;
};

/// Puts one number on every line that has room for it inside a picture of this size, where it
/// covers no other one; places in the picture's own coordinates, (0, 0) its upper left corner.
IsoDrawing label_iso_lines(std::vector<IsoLine> lines, const IsoLettering& lettering, double width,
                           double height);

}  // namespace vyn
