#include "uncertainty/variance_line.h"

#include <algorithm>
#include <cmath>

namespace vyn {

namespace {

struct Sums {
    double w = 0, x = 0, y = 0, xx = 0, xy = 0;

    double determinant() const { return w * xx - x * x; }
};

Sums sums_of(const std::vector<VariancePoint>& points, const std::vector<double>& weights) {
    Sums sums;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto& [signal, variance, freedom] = points[i];
        sums.w += weights[i];
        sums.x += weights[i] * signal;
        sums.y += weights[i] * variance;
        sums.xx += weights[i] * signal * signal;
        sums.xy += weights[i] * signal * variance;
    }
    return sums;
}

}  // namespace

std::optional<VarianceLine> variance_line(const std::vector<VariancePoint>& points) {
    constexpr double huber = 1.345;
    if (points.size() < 3) return std::nullopt;
    std::vector<double> weights;
    weights.reserve(points.size());
    for (const VariancePoint& point : points)
        weights.push_back(point.freedom / std::max(point.variance * point.variance, 1e-30));
    VarianceLine line;
    for (int round = 0; round < 30; ++round) {
        const Sums sums = sums_of(points, weights);
        const double determinant = sums.determinant();
        if (!(determinant > 1e-12 * sums.w * sums.xx)) return std::nullopt;
        line.slope = std::max((sums.w * sums.xy - sums.x * sums.y) / determinant, 0.0);
        line.offset = (sums.y - line.slope * sums.x) / sums.w;
        if (line.offset < 0) {
            line.offset = 0;
            line.slope = std::max(sums.xy / sums.xx, 0.0);
        }
        line.offset_error = std::sqrt(sums.xx / determinant);
        line.slope_error = std::sqrt(sums.w / determinant);
        for (std::size_t i = 0; i < points.size(); ++i) {
            const double fitted = line.offset + line.slope * points[i].signal;
            const double deviation =
                std::max(fitted, 1e-12) * std::sqrt(2 / std::max(points[i].freedom, 1.0));
            const double away = std::abs(points[i].variance - fitted) / deviation;
            weights[i] = std::min(1.0, huber / std::max(away, 1e-12)) / (deviation * deviation);
        }
    }
    for (const VariancePoint& point : points) {
        const double fitted = line.offset + line.slope * point.signal;
        const double departure = fitted > 0 ? std::abs(point.variance / fitted - 1) : 0;
        if (departure <= line.largest_departure) continue;
        line.largest_departure = departure;
        line.departs_at = point.signal;
    }
    return line;
}

}  // namespace vyn
