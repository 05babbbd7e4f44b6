#include "align/dots/dot_quality.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

#include "align/dots/value_at.h"

namespace vyn {

namespace {

/// Each halves the quality: noise over depth, misfit over depth, second harmonic of the rim over
/// its radius.
constexpr double half_noise = 0.2;
constexpr double half_misfit = 0.12;
constexpr double half_oval = 0.25;
/// The least noise that is believed, over depth.
constexpr double least_noise = 1e-3;
/// A median of deviations times this is a standard deviation of normal noise (Hampel 1974).
constexpr double normal_median = 1.4826;

/// Members of a family lie closer than this: logarithms of diameter and, with a smaller weight, of
/// contrast, which changes with the light.
constexpr double family_link = 0.42;
constexpr double contrast_weight = 0.72;
/// Distance at which a candidate is too unlike the dots, as a standard deviation.
constexpr double unlike = 0.35;
/// Only candidates of this share of the best one's own quality make families.
constexpr double founder_share = 0.5;

constexpr int rays = 16;
constexpr double ray_step = 0.1;

/// Standard deviation of the paint around the dot over the dot's depth.
double noise_around(const image& picture, const DotFit& fit) {
    const double inner = fit.radius + std::max(1.5, 0.5 * fit.radius);
    const double outer = inner + std::max(4.0, fit.radius);
    std::vector<double> deviations;
    for (int y = static_cast<int>(fit.centre.y - outer); y <= fit.centre.y + outer; ++y)
        for (int x = static_cast<int>(fit.centre.x - outer); x <= fit.centre.x + outer; ++x) {
            const double distance = std::hypot(x - fit.centre.x, y - fit.centre.y);
            if (distance < inner || distance > outer || !picture.values().contains(x, y) ||
                picture.mask()(x, y) != 0)
                continue;
            const Point place{static_cast<double>(x), static_cast<double>(y)};
            deviations.push_back(std::abs(picture.values()(x, y) - fit.background_at(place)));
        }
    if (deviations.empty()) return 1;
    const auto middle = deviations.begin() + static_cast<std::ptrdiff_t>(deviations.size() / 2);
    std::nth_element(deviations.begin(), middle, deviations.end());
    return normal_median * *middle / fit.depth;
}

/// How oval the rim is at half the dot's depth: the second harmonic of its distance from the
/// centre, over the mean one.
double oval(const image& picture, const DotFit& fit) {
    const int most_steps = static_cast<int>((2 * fit.radius + 3) / ray_step);
    double sum = 0;
    Point second;
    for (int k = 0; k < rays; ++k) {
        const double angle = 2 * std::numbers::pi * k / rays;
        double distance = 0;
        for (int step = 0; step < most_steps; ++step) {
            distance = step * ray_step;
            const Point place{fit.centre.x + distance * std::cos(angle),
                              fit.centre.y + distance * std::sin(angle)};
            const auto value = value_at(picture, place);
            if (!value || std::abs(fit.background_at(place) - *value) < 0.5 * fit.depth) break;
        }
        sum += distance;
        second.x += distance * std::cos(2 * angle);
        second.y += distance * std::sin(2 * angle);
    }
    return sum > 0 ? 2 * std::hypot(second.x, second.y) / sum : 1;
}

/// What the candidate shows by itself.
double own_quality(const image& picture, const DotFit& fit) {
    const double noise = std::max(noise_around(picture, fit), least_noise);
    const double core = fit.core_error / fit.depth;
    const double misfit = std::sqrt(std::max(core * core - noise * noise, 0.0)) / half_misfit;
    const double rim = oval(picture, fit) / half_oval;
    const double grain = noise / half_noise;
    return 1 / ((1 + misfit * misfit + rim * rim) * (1 + grain * grain));
}

/// A candidate among others.
struct Kin {
    Point kind;         ///< logarithms of radius and, weighted, of contrast
    double weight = 0;  ///< signal of a matched filter in noise that is the same all over
};

Kin kin_of(const DetectedDot& dot) {
    return {{std::log(dot.fit.radius), contrast_weight * std::log(dot.contrast)},
            dot.quality * std::min(dot.contrast, 1.0) * dot.fit.radius};
}

double distance(Point a, Point b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

/// The family that is seen best.
std::vector<Kin> best_family(std::vector<Kin> open) {
    std::vector<Kin> best;
    double best_weight = -1;
    while (!open.empty()) {
        std::vector<Kin> family{open.back()};
        open.pop_back();
        double sum = 0;
        for (std::size_t i = 0; i < family.size(); ++i) {
            const Kin member = family[i];
            sum += member.weight;
            std::erase_if(open, [&](const Kin& other) {
                if (distance(member.kind, other.kind) >= family_link) return false;
                family.push_back(other);
                return true;
            });
        }
        if (sum > best_weight) {
            best_weight = sum;
            best = std::move(family);
        }
    }
    return best;
}

}  // namespace

void rate_dots(const image& picture, std::vector<DetectedDot>& dots) {
    if (dots.empty()) return;
    double best = 0;
    for (DetectedDot& dot : dots) {
        dot.quality = own_quality(picture, dot.fit);
        best = std::max(best, dot.quality);
    }
    std::vector<Kin> founders;
    for (const DetectedDot& dot : dots)
        if (dot.quality >= founder_share * best) founders.push_back(kin_of(dot));
    const std::vector<Kin> family = best_family(std::move(founders));
    for (DetectedDot& dot : dots) {
        const Kin kin = kin_of(dot);
        double nearest = std::numeric_limits<double>::infinity();
        for (const Kin& member : family)
            nearest = std::min(nearest, distance(kin.kind, member.kind));
        dot.quality *= std::exp(-nearest * nearest / (2 * unlike * unlike));
    }
}

double quality_gap(std::span<const DetectedDot> dots) {
    std::vector<double> qualities{least_quality, sure_quality};
    for (const DetectedDot& dot : dots)
        if (dot.quality > least_quality && dot.quality < sure_quality)
            qualities.push_back(dot.quality);
    std::sort(qualities.begin(), qualities.end());
    double cut = 0;
    double widest = 0;
    for (std::size_t i = 1; i < qualities.size(); ++i)
        if (qualities[i] - qualities[i - 1] > widest) {
            widest = qualities[i] - qualities[i - 1];
            cut = (qualities[i] + qualities[i - 1]) / 2;
        }
    return cut;
}

}  // namespace vyn
