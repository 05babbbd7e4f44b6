#include "align/pairing_parts.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vyn::pairing_parts {

namespace {

double squared_distance(const Point& a, const Point& b) {
    return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

}  // namespace

std::vector<Marker> usable_markers(const MarkerSet& set, std::vector<std::string>& notes) {
    std::vector<Marker> usable;
    for (const Marker& marker : set.markers) {
        if (!marker.active) continue;
        if (std::isfinite(marker.x) && std::isfinite(marker.y))
            usable.push_back(marker);
        else
            notes.push_back("Marker No " + std::to_string(marker.id) +
                            " has no finite position and is left out");
    }
    return usable;
}

bool Window::holds(const Point& centre, const Point& p) const {
    return std::abs(p.x - centre.x) <= half_ && std::abs(p.y - centre.y) <= half_;
}

NearestFinder::NearestFinder(std::span<const Point> points) {
    for (std::size_t i = 0; i < points.size(); ++i)
        if (std::isfinite(points[i].x)) sorted_.push_back({points[i], i});
    std::stable_sort(sorted_.begin(), sorted_.end(),
                     [](const Entry& a, const Entry& b) { return a.point.x < b.point.x; });
}

std::optional<std::size_t> NearestFinder::nearest(const Point& centre, const Window& window) const {
    std::optional<std::size_t> best;
    double best_distance = std::numeric_limits<double>::infinity();
    auto entry = std::lower_bound(sorted_.begin(), sorted_.end(), centre.x - window.half(),
                                  [](const Entry& e, double x) { return e.point.x < x; });
    for (; entry != sorted_.end() && entry->point.x <= centre.x + window.half(); ++entry) {
        if (!window.holds(centre, entry->point)) continue;
        const double distance = squared_distance(centre, entry->point);
        if (distance < best_distance || (distance == best_distance && entry->index < *best)) {
            best = entry->index;
            best_distance = distance;
        }
    }
    return best;
}

std::vector<IndexPair> mutual_nearest(std::span<const Point> first, std::span<const Point> second,
                                      const NearestFinder& among_second, const Window& window) {
    const NearestFinder among_first(first);
    std::vector<IndexPair> pairs;
    for (std::size_t i = 0; i < first.size(); ++i) {
        const std::optional<std::size_t> there = among_second.nearest(first[i], window);
        if (there && among_first.nearest(second[*there], window) == i) pairs.push_back({i, *there});
    }
    return pairs;
}

std::optional<PolyTransform> similarity(Point a0, Point a1, Point b0, Point b1) {
    const Point a{a1.x - a0.x, a1.y - a0.y};
    const Point b{b1.x - b0.x, b1.y - b0.y};
    const double square = a.x * a.x + a.y * a.y;
    if (!(square > 0)) return std::nullopt;
    const double c = (a.x * b.x + a.y * b.y) / square;
    const double s = (a.x * b.y - a.y * b.x) / square;
    PolyTransform map;
    map.n = 3;
    map.ax = {b0.x - c * a0.x + s * a0.y, c, -s};
    map.ay = {b0.y - s * a0.x - c * a0.y, s, c};
    return map;
}

}  // namespace vyn::pairing_parts
