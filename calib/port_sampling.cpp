#include "calib/port_sampling.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>

#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

/// Column (or row) of one step of the square around a position.
double covered_at(int step, double position, int side) {
    const int half = side / 2;
    return std::trunc(step + position - half);
}

/// Columns (or rows) that the square around a position covers. Truncation toward zero lets the
/// first one stand twice where the square reaches over the edge.
std::vector<int> covered(double position, int side, int size) {
    std::vector<int> indices;
    for (int step = 0; step < side; ++step) {
        const double index = covered_at(step, position, side);
        if (index >= 0 && index < size) indices.push_back(static_cast<int>(index));
    }
    return indices;
}

struct Mean {
    double value = 0;
    double sigma = 0;  ///< from the scatter of the pixels
};

std::optional<Mean> mean_around(const image& ratio, const Marker& port, int side) {
    const std::vector<int> columns = covered(port.x, side, ratio.width());
    double sum = 0;
    std::vector<double> values;
    for (const int y : covered(port.y, side, ratio.height()))
        for (const int x : columns) {
            if (ratio.mask()(x, y) != 0) continue;
            values.push_back(static_cast<double>(ratio.values()(x, y)));
            sum += values.back();
        }
    if (values.empty()) return std::nullopt;
    const double count = static_cast<double>(values.size());
    Mean mean{sum / count};
    double squares = 0;
    for (const double value : values)
        squares += (value - mean.value) * (value - mean.value);
    if (count > 1) mean.sigma = std::sqrt(squares / (count - 1) / count);
    return mean;
}

/// Why the port has no mean.
std::string no_mean(const image& ratio, const Marker& port, int side) {
    const bool inside = !covered(port.x, side, ratio.width()).empty() &&
                        !covered(port.y, side, ratio.height()).empty();
    if (inside || side == 0) return ": no valid pixel there";
    return ": outside the image of " + std::to_string(ratio.width()) + " x " +
           std::to_string(ratio.height()) + " pixels";
}

std::string label(const Marker& port) {
    return "port " + std::to_string(port.id) + " at (" + format_general(port.x, 6) + ", " +
           format_general(port.y, 6) + ")";
}

}  // namespace

std::string port_problem(const MarkerSet& ports) {
    std::set<std::int32_t> numbers;
    for (const Marker& port : ports.markers) {
        if (!port.active) continue;
        if (std::isinf(port.f)) return label(port) + ": its pressure is infinite";
        if (!numbers.insert(port.id).second)
            return label(port) + ": another active port has this number";
    }
    return {};
}

PixelBox averaged_box(const Marker& port, int side) {
    if (side < 1) return {};
    const auto index = [side](int step, double position) {
        constexpr double farthest = 2e9;  // so that any number fits an int
        return static_cast<int>(std::clamp(covered_at(step, position, side), -farthest, farthest));
    };
    return {index(0, port.x), index(0, port.y), index(side - 1, port.x), index(side - 1, port.y)};
}

PortSamples sample_ports(const image& ratio, const MarkerSet& ports, int side) {
    ratio.check_planes();
    if (side < 0 || side > max_bitmap_side)
        throw AlgoError("Algorithm error!", "an averaging side of " + std::to_string(side) +
                                                " pixels is out of range 0 to " +
                                                std::to_string(max_bitmap_side));
    PortSamples samples;
    for (const Marker& port : ports.markers) {
        if (!port.active) continue;
        const std::optional<Mean> mean = mean_around(ratio, port, side);
        if (!mean)
            samples.left_out.push_back(label(port) + no_mean(ratio, port, side));
        else if (!std::isfinite(mean->value))
            samples.left_out.push_back(label(port) + ": the value there is no finite number");
        else if (!std::isfinite(port.f))
            samples.left_out.push_back(label(port) + ": its pressure is no finite number");
        else
            samples.points.push_back({mean->value, port.f, port.id, mean->sigma});
    }
    return samples;
}

}  // namespace vyn
