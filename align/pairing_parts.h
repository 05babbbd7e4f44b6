#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "align/pairing.h"

/// What the ways of pairing share.
namespace vyn::pairing_parts {

/// Active markers with a finite position, in the order of the set.
std::vector<Marker> usable_markers(const MarkerSet& set, std::vector<std::string>& notes);

/// The square search window about a predicted position.
class Window {
  public:
    explicit Window(double side) : half_(side / 2) {}
    double half() const { return half_; }
    bool holds(const Point& centre, const Point& p) const;

  private:
    double half_;
};

/// Finite points sorted by x, so that a search looks at one strip of the image only.
class NearestFinder {
  public:
    explicit NearestFinder(std::span<const Point> points);

    /// Index of the nearest point in the window about `centre`, the earliest of equals.
    std::optional<std::size_t> nearest(const Point& centre, const Window& window) const;

  private:
    struct Entry {
        Point point;
        std::size_t index;
    };
    std::vector<Entry> sorted_;
};

/// Indices of two points that are each other's nearest inside the window.
struct IndexPair {
    std::size_t first;
    std::size_t second;
    bool operator==(const IndexPair&) const = default;
};
std::vector<IndexPair> mutual_nearest(std::span<const Point> first, std::span<const Point> second,
                                      const NearestFinder& among_second, const Window& window);

/// The similarity that takes a0 to b0 and a1 to b1; nothing for points that are the same.
std::optional<PolyTransform> similarity(Point a0, Point a1, Point b0, Point b1);

}  // namespace vyn::pairing_parts
