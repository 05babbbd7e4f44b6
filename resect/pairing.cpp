#include "resect/pairing.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "resect/adjustment.h"

namespace vyn {

namespace {

using Eigen::Vector3d;

Vector3d place_of(const Marker& marker) {
    return {marker.x, marker.y, marker.z};
}

DotPair pair_of(const std::vector<Marker>& markers, std::size_t marker,
                const std::vector<Marker>& dots, std::size_t dot, double sigma) {
    return {static_cast<int>(marker),
            static_cast<int>(dot),
            place_of(markers[marker]),
            {dots[dot].x, dots[dot].y},
            sigma};
}

/// Active members by number; -1 where two have the same.
std::map<int, int> by_number(const std::vector<Marker>& list) {
    std::map<int, int> numbers;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (!list[i].active) continue;
        const auto [entry, fresh] = numbers.emplace(list[i].id, static_cast<int>(i));
        if (!fresh) entry->second = -1;
    }
    return numbers;
}

/// Distance to the nearest dot, looked up at a quarter of the picture's size.
class DotMap {
  public:
    DotMap(const PinholeCamera& camera, const std::vector<Marker>& dots, double reach)
        : width_(camera.width / scale + 1),
          height_(camera.height / scale + 1),
          near_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_), 0) {
        const int cells = static_cast<int>(std::ceil(reach / scale)) + 1;
        for (const Marker& dot : dots) {
            if (!dot.active) continue;
            const int x0 = static_cast<int>(std::clamp(dot.x, 0.0, double(camera.width))) / scale;
            const int y0 = static_cast<int>(std::clamp(dot.y, 0.0, double(camera.height))) / scale;
            for (int y = y0 - cells; y <= y0 + cells; ++y)
                for (int x = x0 - cells; x <= x0 + cells; ++x) {
                    const double dx = (x + 0.5) * scale - dot.x;
                    const double dy = (y + 0.5) * scale - dot.y;
                    if (inside(x, y) && std::hypot(dx, dy) <= reach + scale) near_[index(x, y)] = 1;
                }
        }
    }
    bool near(Point pixel) const {
        if (!(pixel.x >= 0 && pixel.y >= 0)) return false;
        if (pixel.x >= scale * double(width_) || pixel.y >= scale * double(height_)) return false;
        return near_[index(static_cast<int>(pixel.x) / scale, static_cast<int>(pixel.y) / scale)];
    }

  private:
    static constexpr int scale = 4;
    bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < width_ && y < height_; }
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
               static_cast<std::size_t>(x);
    }
    int width_;
    int height_;
    std::vector<std::uint8_t> near_;
};

/// The nearest few of each point among the others.
std::vector<std::vector<std::size_t>> neighbours_of(const std::vector<Vector3d>& points,
                                                    std::size_t count) {
    std::vector<std::vector<std::size_t>> result(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        auto& list = result[i];
        for (std::size_t j = 0; j < points.size(); ++j)
            if (j != i) list.push_back(j);
        std::ranges::stable_sort(
            list, {}, [&](std::size_t j) { return (points[j] - points[i]).squaredNorm(); });
        list.resize(std::min(list.size(), count));
    }
    return result;
}

/// Draws triples of neighbours and judges their poses.
class TripleSearch {
  public:
    TripleSearch(const PinholeCamera& camera, const std::vector<Marker>& markers,
                 const std::vector<Marker>& dots, double gate, double image_sigma,
                 const Progress& progress)
        : camera_(camera),
          all_markers_(markers),
          all_dots_(dots),
          gate_(gate),
          image_sigma_(image_sigma),
          progress_(progress),
          map_(camera, dots, gate) {
        for (const Marker& marker : markers)
            if (marker.active) places_.push_back(place_of(marker));
        std::vector<Vector3d> pixels;
        for (const Marker& dot : dots)
            if (dot.active) {
                pixels.emplace_back(dot.x, dot.y, 0);
                rays_.push_back(ray_of(camera, {dot.x, dot.y}));
            }
        marker_neighbours_ = neighbours_of(places_, 7);
        dot_neighbours_ = neighbours_of(pixels, 5);
    }

    std::optional<GeometryPairing> run() {
        const std::size_t shorter = std::min(places_.size(), rays_.size());
        const std::size_t enough = std::max<std::size_t>(8, (shorter + 1) / 2);
        if (shorter < enough) return std::nullopt;
        constexpr std::size_t most_draws = 400'000;
        constexpr std::size_t fewest_for_rivals = 3'000;
        std::optional<GeometryPairing> best;
        std::size_t until = most_draws;
        for (std::size_t draw = 0; draw < until; ++draw) {
            if (draw % 256 == 0) throw_if_aborted(progress_);
            for (const Pose& pose : draw_poses()) {
                if (!promising(pose)) continue;
                auto found = settle_pairs(camera_, pose, all_markers_, all_dots_, gate_,
                                          image_sigma_, progress_);
                if (!found || found->pairs.size() < enough) continue;
                if (!best) {
                    best = std::move(found);
                    until = std::min(most_draws, std::max(2 * draw, draw + fewest_for_rivals));
                } else {
                    compare(*best, *found);
                }
            }
        }
        return best;
    }

  private:
    std::vector<Pose> draw_poses() {
        const std::size_t m = dice_.below(places_.size());
        const std::size_t d = dice_.below(rays_.size());
        const auto two = [&](const std::vector<std::size_t>& from) {
            const std::size_t a = dice_.below(from.size());
            const std::size_t b = (a + 1 + dice_.below(from.size() - 1)) % from.size();
            return std::pair{from[a], from[b]};
        };
        const auto [m1, m2] = two(marker_neighbours_[m]);
        const auto [d1, d2] = two(dot_neighbours_[d]);
        return three_point_poses({places_[m], places_[m1], places_[m2]},
                                 {rays_[d], rays_[d1], rays_[d2]});
    }

    /// Enough markers fall on dots; the first dozen decide early.
    bool promising(const Pose& pose) {
        constexpr std::size_t dozen = 12;
        constexpr std::size_t early_hits = 3;
        const std::size_t wanted = 6;
        std::size_t hits = 0;
        const std::size_t start = dice_.below(places_.size());
        for (std::size_t i = 0; i < places_.size(); ++i) {
            const Vector3d& place = places_[(start + i) % places_.size()];
            const auto pixel = raw_pixel(camera_, pose.in_camera(place));
            if (pixel && map_.near(*pixel)) ++hits;
            if (i + 1 == dozen && hits < early_hits) return false;
        }
        return hits >= wanted;
    }

    /// A pose that pairs other dots: the better one stays, the other is its rival.
    static void compare(GeometryPairing& best, GeometryPairing& found) {
        std::size_t shared = 0;
        for (const DotPair& pair : found.pairs)
            for (const DotPair& known : best.pairs)
                shared += pair.marker == known.marker && pair.dot == known.dot;
        const bool same = 2 * shared > std::min(found.pairs.size(), best.pairs.size());
        if (found.pairs.size() > best.pairs.size()) {
            const std::size_t rival = same ? best.rival : best.pairs.size();
            best = std::move(found);
            best.rival = rival;
        } else if (!same) {
            best.rival = std::max(best.rival, found.pairs.size());
        }
    }

    const PinholeCamera& camera_;
    const std::vector<Marker>& all_markers_;
    const std::vector<Marker>& all_dots_;
    double gate_;
    double image_sigma_;
    const Progress& progress_;
    DotMap map_;
    std::vector<Vector3d> places_;
    std::vector<Vector3d> rays_;
    std::vector<std::vector<std::size_t>> marker_neighbours_;
    std::vector<std::vector<std::size_t>> dot_neighbours_;
    Dice dice_{20240301};
};

}  // namespace

std::vector<DotPair> pairs_by_number(const std::vector<Marker>& markers,
                                     const std::vector<Marker>& dots, double image_sigma) {
    const auto marker_numbers = by_number(markers);
    std::vector<DotPair> pairs;
    for (const auto& [number, dot] : by_number(dots)) {
        const auto marker = marker_numbers.find(number);
        if (dot < 0 || marker == marker_numbers.end() || marker->second < 0) continue;
        pairs.push_back(pair_of(markers, static_cast<std::size_t>(marker->second), dots,
                                static_cast<std::size_t>(dot), image_sigma));
    }
    return pairs;
}

std::vector<DotPair> nearest_pairs(const PinholeCamera& camera, const Pose& pose,
                                   const std::vector<Marker>& markers,
                                   const std::vector<Marker>& dots, double reach,
                                   double image_sigma) {
    constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
    std::vector<std::size_t> dot_of(markers.size(), none);
    std::vector<std::size_t> marker_of(dots.size(), none);
    std::vector<double> marker_best(markers.size(), reach);
    std::vector<double> dot_best(dots.size(), reach);
    for (std::size_t m = 0; m < markers.size(); ++m) {
        if (!markers[m].active) continue;
        const auto pixel = raw_pixel(camera, pose.in_camera(place_of(markers[m])));
        if (!pixel) continue;
        for (std::size_t d = 0; d < dots.size(); ++d) {
            if (!dots[d].active) continue;
            const double distance = std::hypot(dots[d].x - pixel->x, dots[d].y - pixel->y);
            if (distance < marker_best[m]) {
                marker_best[m] = distance;
                dot_of[m] = d;
            }
            if (distance < dot_best[d]) {
                dot_best[d] = distance;
                marker_of[d] = m;
            }
        }
    }
    std::vector<DotPair> pairs;
    for (std::size_t m = 0; m < markers.size(); ++m)
        if (dot_of[m] != none && marker_of[dot_of[m]] == m)
            pairs.push_back(pair_of(markers, m, dots, dot_of[m], image_sigma));
    return pairs;
}

std::optional<GeometryPairing> settle_pairs(const PinholeCamera& camera, const Pose& start,
                                            const std::vector<Marker>& markers,
                                            const std::vector<Marker>& dots, double gate,
                                            double image_sigma, const Progress& progress) {
    GeometryPairing result;
    result.pose = start;
    double reach = 4 * gate;
    const auto same = [](const std::vector<DotPair>& a, const std::vector<DotPair>& b) {
        return std::ranges::equal(a, b, [](const DotPair& p, const DotPair& q) {
            return p.marker == q.marker && p.dot == q.dot;
        });
    };
    for (int round = 0; round < 20; ++round) {
        auto pairs = nearest_pairs(camera, result.pose, markers, dots, reach, image_sigma);
        if (pairs.size() < 6) return std::nullopt;
        if (reach == gate && same(pairs, result.pairs)) return result;
        result.pairs = std::move(pairs);
        Adjustment problem{.cameras = {{camera, {}}},
                           .views = {{0, result.pose, result.pairs}},
                           .marker_sigma = 0,
                           .loss = RobustLoss::huber,
                           .loss_width = 1};
        adjust(problem, progress);
        result.pose = problem.views[0].pose;
        reach = std::max(gate, reach / 2);
    }
    return result;
}

std::optional<GeometryPairing> pairs_by_geometry(const PinholeCamera& camera,
                                                 const std::vector<Marker>& markers,
                                                 const std::vector<Marker>& dots, double gate,
                                                 double image_sigma, const Progress& progress) {
    return TripleSearch(camera, markers, dots, gate, image_sigma, progress).run();
}

}  // namespace vyn
