#include "calib/port_sampling.h"

#include <cmath>
#include <optional>

#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

/// Columns (or rows) that the square around a position covers. Truncation toward zero lets the
/// first one stand twice where the square reaches over the edge.
std::vector<int> covered(double position, int side, int size) {
    std::vector<int> indices;
    const int half = side / 2;
    for (int step = 0; step < side; ++step) {
        const double index = std::trunc(step + position - half);
        if (index >= 0 && index < size) indices.push_back(static_cast<int>(index));
    }
    return indices;
}

std::optional<double> mean_around(const image& ratio, const Marker& port, int side) {
    const std::vector<int> columns = covered(port.x, side, ratio.width());
    double sum = 0;
    std::int64_t count = 0;
    for (const int y : covered(port.y, side, ratio.height()))
        for (const int x : columns) {
            if (ratio.mask()(x, y) != 0) continue;
            sum += static_cast<double>(ratio.values()(x, y));
            ++count;
        }
    if (count == 0) return std::nullopt;
    return sum / static_cast<double>(count);
}

std::string label(const Marker& port) {
    return "port " + std::to_string(port.id) + " at (" + format_general(port.x, 6) + ", " +
           format_general(port.y, 6) + ")";
}

}  // namespace

PortSamples sample_ports(const image& ratio, const MarkerSet& ports, int side) {
    ratio.check_planes();
    if (side < 0 || side > max_bitmap_side)
        throw AlgoError("calib/port_sampling", __LINE__, "Algorithm error!",
                        "an averaging side of " + std::to_string(side) +
                            " pixels is out of range 0 to " + std::to_string(max_bitmap_side));
    PortSamples samples;
    for (const Marker& port : ports.markers) {
        if (!port.active) continue;
        const std::optional<double> mean = mean_around(ratio, port, side);
        if (!mean)
            samples.left_out.push_back(label(port) + ": no valid pixel there");
        else if (!std::isfinite(*mean))
            samples.left_out.push_back(label(port) + ": the value there is no finite number");
        else if (!std::isfinite(port.f))
            samples.left_out.push_back(label(port) + ": its pressure is no finite number");
        else
            samples.points.push_back({*mean, port.f, port.id});
    }
    return samples;
}

}  // namespace vyn
