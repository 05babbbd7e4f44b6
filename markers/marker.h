#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vyn {

/// A registration or port marker. On an image x is the column and y the row in pixels, the centre
/// of the first pixel being (0, 0); on a model x, y, z are in a length unit.
struct Marker {
    double x = 0;
    double y = 0;
    double z = 0;
    double f = 0;         ///< marker function, such as the pressure at a port; 0 where absent
    bool active = true;   ///< takes part in processing
    std::int32_t id = 0;  ///< marker number, from 1 by default

    bool operator==(const Marker&) const = default;
};

/// Markers in file order, with what a file says of all of them.
struct MarkerSet {
    std::vector<Marker> markers;
    std::string functionName;     ///< name of `f`
    std::int32_t lengthUnit = 0;  ///< unit code of 3-D coordinates; 0 = none given
    bool hasX = false;
    bool hasY = false;
    bool hasZ = false;
    bool hasF = false;
    /// What the file that they were read from holds beside them and nobody could read, for the
    /// user; empty when all was read. No file keeps it.
    std::string left_out;

    bool operator==(const MarkerSet&) const = default;
};

}  // namespace vyn
