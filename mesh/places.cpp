#include "mesh/places.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace vyn {

namespace {

/// First points by the cell of a grid that they are in; cells are four tolerances wide, so that a
/// neighbour within the tolerance is in one of at most eight of them.
class PlaceTable {
  public:
    PlaceTable(const std::vector<Vec3>& points, double tolerance)
        : points_(points),
          tolerance_(tolerance),
          heads_(std::bit_ceil(2 * points.size() + 16), -1),
          next_(points.size(), -1) {}

    int place_of(int point) {
        const Vec3& p = points_[static_cast<std::size_t>(point)];
        std::array<std::int64_t, 3> low{};
        std::array<std::int64_t, 3> high{};
        for (std::size_t i = 0; i < 3; ++i) {
            low[i] = cell(p[i] - tolerance_);
            high[i] = cell(p[i] + tolerance_);
        }
        int found = -1;
        for (auto x = low[0]; x <= high[0]; ++x)
            for (auto y = low[1]; y <= high[1]; ++y)
                for (auto z = low[2]; z <= high[2]; ++z)
                    for (int q = heads_[slot(x, y, z)]; q >= 0;
                         q = next_[static_cast<std::size_t>(q)])
                        if (near(p, points_[static_cast<std::size_t>(q)]) &&
                            (found < 0 || q < found))
                            found = q;
        if (found >= 0) return found;
        const std::size_t own = slot(cell(p[0]), cell(p[1]), cell(p[2]));
        next_[static_cast<std::size_t>(point)] = heads_[own];
        heads_[own] = point;
        return point;
    }

  private:
    std::int64_t cell(double coordinate) const {
        return static_cast<std::int64_t>(std::floor(coordinate / (4 * tolerance_)));
    }
    std::size_t slot(std::int64_t x, std::int64_t y, std::int64_t z) const {
        std::uint64_t hash = 0;
        for (const std::int64_t number : {x, y, z}) {
            hash ^= static_cast<std::uint64_t>(number);
            hash *= 0x9E3779B97F4A7C15U;
            hash ^= hash >> 32;
        }
        return hash & (heads_.size() - 1);
    }
    bool near(const Vec3& a, const Vec3& b) const {
        return std::abs(a[0] - b[0]) <= tolerance_ && std::abs(a[1] - b[1]) <= tolerance_ &&
               std::abs(a[2] - b[2]) <= tolerance_;
    }

    const std::vector<Vec3>& points_;
    double tolerance_;
    std::vector<int> heads_;
    std::vector<int> next_;
};

}  // namespace

std::vector<int> equal_places(const std::vector<Vec3>& points, double tolerance) {
    std::vector<int> place(points.size());
    PlaceTable table(points, tolerance);
    for (std::size_t i = 0; i < points.size(); ++i)
        place[i] = table.place_of(static_cast<int>(i));
    return place;
}

}  // namespace vyn
