#include "align/consensus.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "api/median.h"

namespace vyn::pairing_parts {

namespace {

constexpr std::uint64_t random_seed = 20040607;
/// Samples of one size; fewer are all tried.
constexpr std::size_t max_samples = 2000;
/// Markers that the score of a sample looks at.
constexpr std::size_t scored_places = 200;
/// A motion as wide as the whole pattern costs this share of the score.
constexpr double motion_cost = 0.25;
/// Three pairs on a line, height below this share of its length, determine no affine map.
constexpr double thinnest_triangle = 0.02;
constexpr int max_rounds = 20;
/// A fit that decides on pairs needs so many more than coefficients.
constexpr std::size_t spare_pairs = 1;

using Sample = std::vector<std::size_t>;

std::size_t combinations(std::size_t count, std::size_t size) {
    std::size_t result = 1;
    for (std::size_t k = 0; k < size; ++k)
        result = std::min(result * (count - k) / (k + 1), max_samples + 1);
    return result;
}

/// Index sets of that size out of 0 .. count - 1, rising: all, or so many at random.
std::vector<Sample> samples_of(std::size_t count, std::size_t size, std::mt19937_64& random) {
    std::vector<Sample> samples;
    if (count < size) return samples;
    if (combinations(count, size) > max_samples) {
        while (samples.size() < max_samples) {
            Sample sample(size);
            for (std::size_t& index : sample)
                index = static_cast<std::size_t>(random() % count);
            std::ranges::sort(sample);
            if (std::ranges::adjacent_find(sample) == sample.end())
                samples.push_back(std::move(sample));
        }
        return samples;
    }
    Sample sample(size);
    for (std::size_t k = 0; k < size; ++k)
        sample[k] = k;
    while (true) {
        samples.push_back(sample);
        std::size_t k = size;
        while (k > 0 && sample[k - 1] == count - size + k - 1)
            --k;
        if (k == 0) return samples;
        ++sample[k - 1];
        for (; k < size; ++k)
            sample[k] = sample[k - 1] + 1;
    }
}

bool is_thin(Point a, Point b, Point c) {
    const double area = std::abs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
    const double longest =
        std::max({std::hypot(b.x - a.x, b.y - a.y), std::hypot(c.x - a.x, c.y - a.y),
                  std::hypot(c.x - b.x, c.y - b.y)});
    return !(area > thinnest_triangle * longest * longest);
}

std::optional<PolyTransform> mapping_through(std::span<const MarkerPair> pairs,
                                             const Sample& sample) {
    std::array<MarkerPair, 3> chosen;
    for (std::size_t k = 0; k < sample.size(); ++k)
        chosen[k] = pairs[sample[k]];
    const auto& [a, b, c] = chosen;
    if (sample.size() == 1) return fit_pairs({&a, 1}, 1).map;
    if (sample.size() == 2) return similarity(a.reference, b.reference, a.moved, b.moved);
    if (is_thin(a.reference, b.reference, c.reference)) return std::nullopt;
    const PolyFit fit = fit_pairs(chosen, 3);
    return fit.ok ? std::optional(fit.map) : std::nullopt;
}

double extent(const std::vector<Point>& places) {
    const auto [left, right] = std::ranges::minmax(places, {}, &Point::x);
    const auto [top, bottom] = std::ranges::minmax(places, {}, &Point::y);
    return std::max(1.0, std::hypot(right.x - left.x, bottom.y - top.y));
}

std::vector<MarkerPair> without_suspicious(const std::vector<MarkerPair>& pairs,
                                           const PolyTransform& map) {
    if (pairs.empty()) return pairs;
    const std::vector<double> distances = distances_from(map, pairs);
    const double limit = suspicious_distance(distances);
    std::vector<MarkerPair> kept;
    for (std::size_t i = 0; i < pairs.size(); ++i)
        if (distances[i] <= limit) kept.push_back(pairs[i]);
    return kept;
}

class Scorer {
  public:
    Scorer(const Evidence& evidence, const Window& window)
        : evidence_(evidence),
          half_(window.half()),
          extent_(extent(evidence.places)),
          step_((evidence.places.size() + scored_places - 1) / scored_places) {}

    double operator()(const PolyTransform& map) const {
        double sum = 0;
        double motion = 0;
        double looked_at = 0;
        for (std::size_t i = 0; i < evidence_.places.size(); i += step_) {
            const Point& place = evidence_.places[i];
            const Point mapped = apply_poly(map, place);
            motion += std::hypot(mapped.x - place.x, mapped.y - place.y);
            ++looked_at;
            if (const std::optional<double> off = evidence_.distance(i, mapped))
                sum += 1 - 0.5 * (*off / half_) * (*off / half_);
        }
        return sum * (1 - motion_cost * std::min(1.0, motion / looked_at / extent_));
    }

  private:
    const Evidence& evidence_;
    double half_;
    double extent_;
    std::size_t step_;
};

/// Fits and asks for the agreeing pairs anew until they stay the same. Pairs that stand out do not
/// take part in the fit.
PolyTransform refined(PolyTransform map, int coefficients, const Evidence& evidence) {
    for (const int n : {1, 3, 6, 10}) {
        if (n > coefficients || n < map.n) continue;
        std::vector<MarkerPair> before;
        for (int round = 0; round < max_rounds; ++round) {
            std::vector<MarkerPair> pairs = without_suspicious(evidence.agreeing(map), map);
            if (pairs == before || pairs.size() < static_cast<std::size_t>(n) + spare_pairs) break;
            const PolyFit fit = fit_pairs(pairs, n);
            if (!fit.ok || fit.underdetermined) break;
            map = fit.map;
            before = std::move(pairs);
        }
    }
    return map;
}

}  // namespace

std::vector<double> distances_from(const PolyTransform& mapping,
                                   std::span<const MarkerPair> pairs) {
    std::vector<double> distances;
    for (const MarkerPair& pair : pairs) {
        const Point mapped = apply_poly(mapping, pair.reference);
        distances.push_back(std::hypot(pair.moved.x - mapped.x, pair.moved.y - mapped.y));
    }
    return distances;
}

double suspicious_distance(std::span<const double> distances) {
    return std::max(suspicious_pixels,
                    suspicious_medians * median({distances.begin(), distances.end()}));
}

PolyFit fit_pairs(std::span<const MarkerPair> pairs, int coefficients) {
    std::vector<Point> from;
    std::vector<Point> to;
    for (const MarkerPair& pair : pairs) {
        from.push_back(pair.reference);
        to.push_back(pair.moved);
    }
    return fit_poly(from, to, coefficients);
}

PolyTransform consensus_mapping(std::span<const MarkerPair> candidates, int coefficients,
                                const Evidence& evidence, const Window& window) {
    if (candidates.empty() || coefficients == 0) return {};
    const Scorer score(evidence, window);
    std::mt19937_64 random(random_seed);
    PolyTransform best;
    double best_score = -1;
    for (const std::size_t size : {1U, 2U, 3U}) {
        if (static_cast<int>(size) > coefficients) break;
        for (const Sample& sample : samples_of(candidates.size(), size, random)) {
            const std::optional<PolyTransform> map = mapping_through(candidates, sample);
            if (!map) continue;
            const double value = score(*map);
            if (value <= best_score) continue;
            best_score = value;
            best = *map;
        }
    }
    return refined(best, coefficients, evidence);
}

}  // namespace vyn::pairing_parts
