#include "align/dots/reading_order.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "api/median.h"

namespace vyn {

namespace {

/// Neighbours this much steeper than their distance in x are not in one row.
constexpr double max_row_slope = 0.3;
/// Points this share of the typical distance to the nearest neighbour below a row's first point
/// begin a new row.
constexpr double row_height = 0.5;

struct Neighbours {
    double slope = 0;     ///< typical tilt of a row
    double distance = 0;  ///< typical distance to the nearest point
};

Neighbours typical_neighbours(std::span<const Point> points) {
    std::vector<double> slopes;
    std::vector<double> distances;
    for (const Point& from : points) {
        double nearest = INFINITY;
        double nearest_right = INFINITY;
        double slope = 0;
        for (const Point& to : points) {
            const double dx = to.x - from.x;
            const double dy = to.y - from.y;
            const double distance = std::hypot(dx, dy);
            if (&from == &to) continue;
            nearest = std::min(nearest, distance);
            if (dx > 0 && std::abs(dy) < max_row_slope * dx && distance < nearest_right) {
                nearest_right = distance;
                slope = dy / dx;
            }
        }
        if (std::isfinite(nearest)) distances.push_back(nearest);
        if (std::isfinite(nearest_right)) slopes.push_back(slope);
    }
    return {median(std::move(slopes)), median(std::move(distances))};
}

}  // namespace

std::vector<std::size_t> reading_order(std::span<const Point> points) {
    const Neighbours typical = typical_neighbours(points);
    const auto level = [&](std::size_t i) { return points[i].y - typical.slope * points[i].x; };
    std::vector<std::size_t> order(points.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return level(a) < level(b); });
    for (auto row = order.begin(); row != order.end();) {
        const double limit = level(*row) + row_height * typical.distance;
        const auto next =
            std::find_if(row + 1, order.end(), [&](std::size_t i) { return level(i) > limit; });
        std::stable_sort(row, next,
                         [&](std::size_t a, std::size_t b) { return points[a].x < points[b].x; });
        row = next;
    }
    return order;
}

}  // namespace vyn
