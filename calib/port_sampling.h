#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/image.h"

namespace vyn {

/// What a pressure port tells of the paint.
struct CalibrationPoint {
    double ratio = 0;         ///< mean of the ratio image around the port
    double pressure = 0;      ///< measured at the port
    std::int32_t number = 0;  ///< of the port's marker
    double ratio_sigma = 0;   ///< standard error of that mean; 0 of a single pixel
};

struct PortSamples {
    std::vector<CalibrationPoint> points;  ///< in the order of the markers
    std::vector<std::string> left_out;     ///< for the user: active ports without a point, and why
};

/// Whole pixels, the last ones included.
struct PixelBox {
    int left = 0;
    int top = 0;
    int right = -1;
    int bottom = -1;
};
/// The square that is averaged around a port; it may reach out of the image. Empty (right < left)
/// for a side of 0.
PixelBox averaged_box(const Marker& port, int side);

/// Averages the ratio in a square of `side` pixels around each active port: pixel
/// (trunc(q + x - side / 2), trunc(r + y - side / 2)) for q and r from 0 to side - 1, where it is
/// inside the image and valid. A port without such a pixel, or without a finite pressure, gives no
/// point. Raises AlgoError when the side is negative or larger than any image, or when the image
/// has no values or no mask.
PortSamples sample_ports(const image& ratio, const MarkerSet& ports, int side);

/// What cannot be right with ports, whatever the image: an active one whose pressure is infinite,
/// or two with one number. Empty when nothing is wrong.
std::string port_problem(const MarkerSet& ports);

}  // namespace vyn
