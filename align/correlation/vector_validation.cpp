#include "align/correlation/vector_validation.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "api/median.h"

namespace vyn {

namespace {

/// Five times it is five standard deviations of normal errors.
constexpr double deviation_of_median = 1.4826;
constexpr double far_off = 5;

/// One component of the vectors around a node.
struct Neighbours {
    std::array<double, 8> value{};
    std::size_t count = 0;
    void add(double v) { value[count++] = v; }
    double median() {
        const auto middle = value.begin() + count / 2;
        std::nth_element(value.begin(), middle, value.begin() + count);
        return *middle;
    }
};

/// Distance from the neighbours' median in units of their spread.
double normalised_distance(double value, Neighbours neighbours) {
    constexpr double noise = 0.1;  // pixels
    const double middle = neighbours.median();
    for (double& other : neighbours.value)
        other = std::abs(other - middle);
    return std::abs(value - middle) / (neighbours.median() + noise);
}

Point node_position(int c, int r, int step) {
    return {static_cast<double>(c) * step, static_cast<double>(r) * step};
}

Point end_of(const NodeVectors& vectors, int c, int r, int step) {
    const Point at = node_position(c, r, step);
    return {at.x + vectors.u(c, r), at.y + vectors.v(c, r)};
}

std::vector<double> distances(const std::vector<Point>& from, const std::vector<Point>& to,
                              const PolyTransform& mapping) {
    std::vector<double> result;
    for (std::size_t i = 0; i < from.size(); ++i) {
        const Point mapped = apply_poly(mapping, from[i]);
        result.push_back(std::hypot(mapped.x - to[i].x, mapped.y - to[i].y));
    }
    return result;
}

}  // namespace

void reject_by_neighbours(NodeVectors& vectors) {
    constexpr int passes = 2;
    constexpr std::size_t least_neighbours = 3;
    constexpr double limit = 2;
    for (int pass = 0; pass < passes; ++pass) {
        const Bitmap<std::uint8_t> before = vectors.found;
        for (int r = 0; r < before.height(); ++r)
            for (int c = 0; c < before.width(); ++c) {
                if (!before(c, r)) continue;
                Neighbours us;
                Neighbours vs;
                for (int j = std::max(r - 1, 0); j <= std::min(r + 1, before.height() - 1); ++j)
                    for (int i = std::max(c - 1, 0); i <= std::min(c + 1, before.width() - 1); ++i)
                        if ((i != c || j != r) && before(i, j)) {
                            us.add(vectors.u(i, j));
                            vs.add(vectors.v(i, j));
                        }
                vectors.found(c, r) = us.count >= least_neighbours &&
                                      std::hypot(normalised_distance(vectors.u(c, r), us),
                                                 normalised_distance(vectors.v(c, r), vs)) <= limit;
            }
    }
}

PolyTransform robust_mapping(const NodeVectors& vectors, int step) {
    constexpr int terms = 3;
    constexpr int passes = 4;
    constexpr int enough = 4000;
    const int sampled = std::max(count_found(vectors) / enough, 1);  // every so many of them
    int seen = 0;
    std::vector<Point> from;
    std::vector<Point> to;
    for (int r = 0; r < vectors.found.height(); ++r)
        for (int c = 0; c < vectors.found.width(); ++c)
            if (vectors.found(c, r) && seen++ % sampled == 0) {
                from.push_back(node_position(c, r, step));
                to.push_back(end_of(vectors, c, r, step));
            }
    PolyFit fit;
    std::vector<Point> used_from = from;
    std::vector<Point> used_to = to;
    for (int pass = 0; pass < passes && used_from.size() >= terms; ++pass) {
        const PolyFit next = fit_poly(used_from, used_to, terms);
        if (!next.ok) break;
        fit = next;
        const std::vector<double> off = distances(from, to, fit.map);
        std::vector<double> sorted = off;
        const double limit = far_off * deviation_of_median * median(sorted) + 1e-9;
        used_from.clear();
        used_to.clear();
        for (std::size_t i = 0; i < from.size(); ++i)
            if (off[i] <= limit) {
                used_from.push_back(from[i]);
                used_to.push_back(to[i]);
            }
    }
    return fit.map;
}

void reject_by_mapping(NodeVectors& vectors, int step, const PolyTransform& mapping,
                       double tolerance) {
    const auto off = [&](int c, int r) {
        const Point mapped = apply_poly(mapping, node_position(c, r, step));
        const Point end = end_of(vectors, c, r, step);
        return std::hypot(mapped.x - end.x, mapped.y - end.y);
    };
    std::vector<double> all;
    for (int r = 0; r < vectors.found.height(); ++r)
        for (int c = 0; c < vectors.found.width(); ++c)
            if (vectors.found(c, r)) all.push_back(off(c, r));
    if (all.empty()) return;
    const double limit = std::max(far_off * deviation_of_median * median(all), tolerance);
    for (int r = 0; r < vectors.found.height(); ++r)
        for (int c = 0; c < vectors.found.width(); ++c)
            if (vectors.found(c, r) && off(c, r) > limit) vectors.found(c, r) = 0;
}

int count_found(const NodeVectors& vectors) {
    int count = 0;
    for (int r = 0; r < vectors.found.height(); ++r)
        for (int c = 0; c < vectors.found.width(); ++c)
            count += vectors.found(c, r);
    return count;
}

}  // namespace vyn
