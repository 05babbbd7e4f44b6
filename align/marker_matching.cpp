#include "align/marker_matching.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "align/pairing_parts.h"
#include "api/median.h"

namespace vyn {

using namespace pairing_parts;

namespace {

constexpr std::uint64_t random_seed = 20040607;
constexpr int draws = 2000;
/// A reference marker's partner is looked for among so many of the nearest.
constexpr std::size_t partner_candidates = 8;
/// The second marker of a draw is one of so many near the first, every other time; else any.
constexpr std::size_t near_neighbours = 6;
/// Limits of the similarities that are tried.
constexpr double max_stretch = 1.25;
constexpr double max_turn = 0.35;
/// Reference markers that the score of a draw looks at.
constexpr std::size_t scored_markers = 200;
/// A motion as wide as the whole pattern costs this share of the score.
constexpr double motion_cost = 0.5;
/// Window of the search over the typical distance to the nearest marker.
constexpr double window_share = 0.7;
constexpr double min_window = 4;
constexpr int max_rounds = 20;
/// Pairs further off than so many standard deviations, but at least so many pixels, are false.
constexpr double outlier_deviations = 4;
constexpr double outlier_pixels = 1;
/// A fit that throws out false pairs needs so many more pairs than coefficients.
constexpr std::size_t spare_pairs = 2;
constexpr std::size_t min_pairs = 3;

std::vector<Point> positions(const std::vector<Marker>& markers) {
    std::vector<Point> points;
    points.reserve(markers.size());
    for (const Marker& marker : markers)
        points.push_back({marker.x, marker.y});
    return points;
}

/// Indices of the points nearest to a place, nearest first.
std::vector<std::size_t> nearest_indices(std::span<const Point> points, Point place,
                                         std::size_t count) {
    std::vector<std::pair<double, std::size_t>> order;
    for (std::size_t i = 0; i < points.size(); ++i)
        order.emplace_back(std::hypot(points[i].x - place.x, points[i].y - place.y), i);
    count = std::min(count, order.size());
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(count),
                      order.end());
    std::vector<std::size_t> indices;
    for (std::size_t i = 0; i < count; ++i)
        indices.push_back(order[i].second);
    return indices;
}

/// Whether a similarity stretches and turns no more than pictures of one point do.
bool is_likely(const PolyTransform& similarity) {
    const double c = similarity.ax[1];
    const double s = similarity.ay[1];
    const double stretch = std::hypot(c, s);
    return stretch <= max_stretch && stretch >= 1 / max_stretch &&
           std::abs(std::atan2(s, c)) <= max_turn;
}

class GeometryMatcher {
  public:
    GeometryMatcher(std::vector<Point> reference, std::vector<Point> moved, double window_side)
        : reference_(std::move(reference)),
          moved_(std::move(moved)),
          among_moved_(moved_),
          spacing_(spacing()),
          window_(std::min(window_side, std::max(min_window, window_share * spacing_))) {
        for (const Point& p : reference_) {
            centre_.x += p.x / static_cast<double>(reference_.size());
            centre_.y += p.y / static_cast<double>(reference_.size());
            partners_.push_back(nearest_indices(moved_, p, partner_candidates));
            neighbours_.push_back(nearest_indices(reference_, p, near_neighbours + 1));
        }
        for (const Point& p : reference_)
            extent_ = std::max(extent_, 2 * std::hypot(p.x - centre_.x, p.y - centre_.y));
    }

    std::vector<IndexPair> match(int wanted_coefficients) {
        const std::optional<PolyTransform> first = best_similarity();
        if (!first) return {};
        std::vector<IndexPair> pairs = pairs_under(*first, window_);
        for (const int n : {3, 6, 10})
            if (n == 3 || n <= wanted_coefficients) pairs = settle(std::move(pairs), n);
        return pairs;
    }

  private:
    /// Median distance of a marker of the moved image to its nearest.
    double spacing() const {
        std::vector<double> distances;
        for (const Point& p : moved_) {
            const std::vector<std::size_t> two = nearest_indices(moved_, p, 2);
            const Point& other = moved_[two.back()];
            distances.push_back(std::hypot(other.x - p.x, other.y - p.y));
        }
        return median(std::move(distances));
    }

    std::size_t below(std::size_t count) { return static_cast<std::size_t>(random_() % count); }

    std::optional<PolyTransform> draw(bool nearby) {
        const std::size_t i = below(reference_.size());
        const std::size_t p = partners_[i][below(partners_[i].size())];
        const std::size_t j =
            nearby ? neighbours_[i][below(neighbours_[i].size())] : below(reference_.size());
        if (j == i) return std::nullopt;
        const Point carried{reference_[j].x + moved_[p].x - reference_[i].x,
                            reference_[j].y + moved_[p].y - reference_[i].y};
        const std::optional<std::size_t> q = among_moved_.nearest(carried, Window(2 * spacing_));
        if (!q || *q == p) return std::nullopt;
        const auto map = similarity(reference_[i], reference_[j], moved_[p], moved_[*q]);
        return map && is_likely(*map) ? map : std::nullopt;
    }

    double score(const PolyTransform& map) const {
        const std::size_t step = (reference_.size() + scored_markers - 1) / scored_markers;
        double sum = 0;
        for (std::size_t i = 0; i < reference_.size(); i += step) {
            const Point p = apply_poly(map, reference_[i]);
            const std::optional<std::size_t> found = among_moved_.nearest(p, window_);
            if (!found) continue;
            const double off = std::hypot(moved_[*found].x - p.x, moved_[*found].y - p.y);
            sum += 1 - 0.5 * (off / window_.half()) * (off / window_.half());
        }
        const Point centre = apply_poly(map, centre_);
        const double motion = std::hypot(centre.x - centre_.x, centre.y - centre_.y);
        return sum * (1 - motion_cost * std::min(1.0, motion / extent_));
    }

    std::optional<PolyTransform> best_similarity() {
        std::optional<PolyTransform> best;
        double best_score = 0;
        for (int k = 0; k < draws; ++k) {
            const std::optional<PolyTransform> map = draw(k % 2 == 0);
            if (!map) continue;
            const double value = score(*map);
            if (value > best_score) {
                best_score = value;
                best = map;
            }
        }
        return best;
    }

    std::vector<IndexPair> pairs_under(const PolyTransform& map, const Window& window) const {
        std::vector<Point> predicted;
        for (const Point& p : reference_)
            predicted.push_back(apply_poly(map, p));
        return mutual_nearest(predicted, moved_, among_moved_, window);
    }

    PolyFit fit(const std::vector<IndexPair>& pairs, int n) const {
        std::vector<Point> from;
        std::vector<Point> to;
        for (const IndexPair& pair : pairs) {
            from.push_back(reference_[pair.first]);
            to.push_back(moved_[pair.second]);
        }
        return fit_poly(from, to, n);
    }

    /// How far pairs may be from the mapping that fits them.
    double tolerance(const std::vector<IndexPair>& pairs, const PolyTransform& map) const {
        std::vector<double> distances;
        for (const IndexPair& pair : pairs) {
            const Point p = apply_poly(map, reference_[pair.first]);
            const Point& q = moved_[pair.second];
            distances.push_back(std::hypot(q.x - p.x, q.y - p.y));
        }
        const double freedom =
            std::sqrt(static_cast<double>(pairs.size()) /
                      static_cast<double>(pairs.size() - static_cast<std::size_t>(map.n)));
        // Of a normal deviate in the plane the median length is 1.18 standard deviations.
        const double deviation = median(std::move(distances)) / 1.1774 * freedom;
        return std::clamp(outlier_deviations * deviation, outlier_pixels,
                          std::max(outlier_pixels, window_.half()));
    }

    /// Fits and pairs anew until the pairs stay the same.
    std::vector<IndexPair> settle(std::vector<IndexPair> pairs, int n) const {
        for (int round = 0; round < max_rounds; ++round) {
            if (pairs.size() < static_cast<std::size_t>(n) + spare_pairs) break;
            const PolyFit fitted = fit(pairs, n);
            if (!fitted.ok || fitted.underdetermined) break;
            std::vector<IndexPair> next =
                pairs_under(fitted.map, Window(2 * tolerance(pairs, fitted.map)));
            if (next == pairs) break;
            pairs = std::move(next);
        }
        return pairs;
    }

    std::vector<Point> reference_;
    std::vector<Point> moved_;
    NearestFinder among_moved_;
    double spacing_;  ///< typical distance to the nearest marker, pixels
    Window window_;
    Point centre_;
    double extent_ = 1;
    std::vector<std::vector<std::size_t>> partners_;
    std::vector<std::vector<std::size_t>> neighbours_;
    std::mt19937_64 random_{random_seed};
};

}  // namespace

Pairing pair_by_geometry(const MarkerSet& reference_set, const MarkerSet& moved_set,
                         const PairingOptions& options) {
    Pairing pairing;
    const std::vector<Marker> reference = usable_markers(reference_set, pairing.notes);
    const std::vector<Marker> moved = usable_markers(moved_set, pairing.notes);
    const std::size_t fewer = std::min(reference.size(), moved.size());
    const std::string counts =
        std::to_string(reference.size()) + " and " + std::to_string(moved.size()) + " markers";
    if (fewer < min_pairs) {
        pairing.notes.push_back("Markers are paired by their places from three on in each image; " +
                                counts + " are too few");
        return pairing;
    }
    GeometryMatcher matcher(positions(reference), positions(moved), options.window_side);
    const std::vector<IndexPair> matched = matcher.match(options.coefficients);
    if (matched.size() < std::max(min_pairs, (fewer + 2) / 3)) {
        pairing.notes.push_back("The places of the " + counts +
                                " do not agree: " + std::to_string(matched.size()) + " pairs");
        return pairing;
    }
    for (const IndexPair& pair : matched)
        pairing.pairs.push_back({{reference[pair.first].x, reference[pair.first].y},
                                 {moved[pair.second].x, moved[pair.second].y},
                                 reference[pair.first].id});
    if (matched.size() < std::max(reference.size(), moved.size()))
        pairing.notes.push_back("Of " + counts + ", " + std::to_string(matched.size()) +
                                " pairs agree; the others are left out");
    pairing.ok = true;
    return pairing;
}

}  // namespace vyn
