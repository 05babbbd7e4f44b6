#include "align/dots/marker_detection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <optional>
#include <tuple>

#include "align/dots/blob_search.h"
#include "align/dots/reading_order.h"
#include "align/dots/value_at.h"
#include "api/parallel.h"
#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

/// Candidates weaker than this, over the typical response, are noise or texture.
constexpr double min_significance = 5;
/// Of so many candidates at least each is looked at, and of this many for each expected dot.
constexpr std::size_t candidate_count = 1500;
constexpr std::size_t candidates_per_dot = 10;
/// Largest and smallest dots may be off the wanted sizes by this share.
constexpr double size_tolerance = 0.25;
constexpr double min_contrast = 0.08;
/// Residuals of the fit over the dot's depth.
constexpr double max_shape_error = 0.25;
/// How far the ring about a dot may be from the background, as a share of the dot's depth.
constexpr double max_ring_depth = 0.4;
/// The same before radius and depth are known well.
constexpr double first_ring_depth = 0.65;
/// The ring's distance from the dot: this share of its radius, but not less than so many pixels.
constexpr double ring_gap_share = 0.5;
constexpr double min_ring_gap = 1.5;
constexpr int ring_points = 32;
/// Candidates that one thread looks at in one go.
constexpr int candidate_block = 16;

using Ring = std::array<double, ring_points>;

Point on_ring(Point centre, double distance, std::size_t k) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(k) / ring_points;
    return {centre.x + distance * std::cos(angle), centre.y + distance * std::sin(angle)};
}

/// Means of three neighbouring values on the circle; nothing when it leaves the valid pixels.
std::optional<Ring> ring_values(const image& picture, Point centre, double distance) {
    Ring values{};
    for (std::size_t k = 0; k < ring_points; ++k) {
        const std::optional<double> value = value_at(picture, on_ring(centre, distance, k));
        if (!value) return std::nullopt;
        values[k] = *value;
    }
    Ring means{};
    for (std::size_t k = 0; k < ring_points; ++k)
        means[k] = (values[(k + ring_points - 1) % ring_points] + values[k] +
                    values[(k + 1) % ring_points]) /
                   3;
    return means;
}

/// What a look at the ring alone says, before the costly fit.
bool may_be_dot(const image& picture, const Blob& blob, DotPolarity polarity) {
    const Point centre{static_cast<double>(blob.x), static_cast<double>(blob.y)};
    const std::optional<Ring> inner = ring_values(picture, centre, 0.4 * blob.radius);
    const std::optional<Ring> outer = ring_values(picture, centre, 1.7 * blob.radius + 1);
    if (!inner || !outer) return false;
    Ring sorted = *outer;
    std::nth_element(sorted.begin(), sorted.begin() + ring_points / 2, sorted.end());
    const double background = sorted[ring_points / 2];
    const double middle =
        std::accumulate(inner->begin(), inner->end(), 0.0) / static_cast<double>(ring_points);
    const double rise = polarity == DotPolarity::dark ? background - middle : middle - background;
    if (!(rise > 0.5 * min_contrast * background)) return false;
    return std::all_of(outer->begin(), outer->end(), [&](double value) {
        return std::abs(value - background) < first_ring_depth * rise;
    });
}

/// True when the paint goes on all around the dot: no edge, streak or mask reaches it.
bool stands_alone(const image& picture, const DotFit& fit) {
    const double distance = fit.radius + std::max(min_ring_gap, ring_gap_share * fit.radius);
    const std::optional<Ring> ring = ring_values(picture, fit.centre, distance);
    if (!ring) return false;
    for (std::size_t k = 0; k < ring_points; ++k) {
        const double background = fit.background_at(on_ring(fit.centre, distance, k));
        if (!(std::abs((*ring)[k] - background) < max_ring_depth * fit.depth)) return false;
    }
    return true;
}

std::optional<DetectedDot> examine(const image& picture, const Blob& blob,
                                   const DetectionOptions& options) {
    if (!may_be_dot(picture, blob, options.polarity)) return std::nullopt;
    const double window = 2.2 * blob.radius + 1.5;
    const Point start{static_cast<double>(blob.x), static_cast<double>(blob.y)};
    const std::optional<DotFit> fit = fit_dot(picture, start, window, options.polarity);
    if (!fit || !(fit->background > 0)) return std::nullopt;
    DetectedDot dot{.fit = *fit, .contrast = fit->depth / fit->background};
    const double shape_error = fit->error / fit->depth;
    const double size = 2 * fit->radius;
    if (size < options.min_size * (1 - size_tolerance) ||
        size > options.max_size * (1 + size_tolerance) || dot.contrast < min_contrast ||
        shape_error > max_shape_error ||
        std::hypot(fit->centre.x - start.x, fit->centre.y - start.y) > blob.radius + 1 ||
        !stands_alone(picture, *fit))
        return std::nullopt;
    dot.score = blob.significance / (1 + 3 * shape_error);
    return dot;
}

/// Strongest first.
bool stronger(const DetectedDot& a, const DetectedDot& b) {
    return std::tuple(-a.score, a.fit.centre.y, a.fit.centre.x) <
           std::tuple(-b.score, b.fit.centre.y, b.fit.centre.x);
}

bool better(const DetectedDot& a, const DetectedDot& b) {
    return std::tuple(-a.quality, -a.score, a.fit.centre.y, a.fit.centre.x) <
           std::tuple(-b.quality, -b.score, b.fit.centre.y, b.fit.centre.x);
}

/// Keeps the strongest of dots that lie on each other.
std::vector<DetectedDot> without_doubles(const std::vector<DetectedDot>& dots) {
    std::vector<DetectedDot> kept;
    for (const DetectedDot& dot : dots) {
        const auto same = [&](const DetectedDot& other) {
            return std::hypot(dot.fit.centre.x - other.fit.centre.x,
                              dot.fit.centre.y - other.fit.centre.y) <
                   std::max(dot.fit.radius, other.fit.radius) + 1;
        };
        if (std::none_of(kept.begin(), kept.end(), same)) kept.push_back(dot);
    }
    return kept;
}

void check(const DetectionOptions& options) {
    if (options.min_size >= min_dot_size && options.max_size >= options.min_size &&
        options.max_size <= max_dot_size && options.expect >= 0 &&
        !(options.cut && !(*options.cut >= 0 && *options.cut <= 1)))
        return;
    throw AlgoError(
        "Algorithm error!",
        "dots of " + format_double(options.min_size) + " to " + format_double(options.max_size) +
            " pixels cannot be looked for; sizes go from " + format_double(min_dot_size) + " to " +
            format_double(max_dot_size) + ", qualities from 0 to 1");
}

}  // namespace

DotCandidates find_candidates(const image& picture, const DetectionOptions& options,
                              Progress& progress) {
    check(options);
    const auto expected = static_cast<std::size_t>(options.expect);
    std::vector<Blob> blobs = find_blobs(picture, options.polarity, options.min_size / 2,
                                         options.max_size / 2, min_significance, progress);
    blobs.resize(std::min(blobs.size(), std::max(candidate_count, candidates_per_dot * expected)));

    std::vector<std::optional<DetectedDot>> examined(blobs.size());
    parallel_rows(static_cast<int>(blobs.size()), candidate_block, progress, [&](int i0, int i1) {
        for (auto i = static_cast<std::size_t>(i0); i < static_cast<std::size_t>(i1); ++i)
            examined[i] = examine(picture, blobs[i], options);
    });
    std::vector<DetectedDot> dots;
    for (const std::optional<DetectedDot>& dot : examined)
        if (dot) dots.push_back(*dot);
    std::sort(dots.begin(), dots.end(), stronger);
    DotCandidates candidates{.dots = without_doubles(dots)};
    rate_dots(picture, candidates.dots);
    std::sort(candidates.dots.begin(), candidates.dots.end(), better);
    candidates.gap = quality_gap(candidates.dots);
    return candidates;
}

std::size_t taken_count(const DotCandidates& candidates, const DetectionOptions& options) {
    const double cut = options.cut.value_or(options.expect > 0 ? 0 : candidates.gap);
    const auto kept = static_cast<std::size_t>(
        std::count_if(candidates.dots.begin(), candidates.dots.end(),
                      [cut](const DetectedDot& dot) { return dot.quality >= cut; }));
    return options.expect > 0 ? std::min(kept, static_cast<std::size_t>(options.expect)) : kept;
}

std::vector<DetectedDot> find_dots(const image& picture, const DetectionOptions& options,
                                   Progress& progress) {
    DotCandidates candidates = find_candidates(picture, options, progress);
    candidates.dots.resize(taken_count(candidates, options));
    return std::move(candidates.dots);
}

MarkerSet number_dots(std::span<const DetectedDot> dots) {
    std::vector<Point> centres;
    centres.reserve(dots.size());
    for (const DetectedDot& dot : dots)
        centres.push_back(dot.fit.centre);
    MarkerSet set;
    set.hasX = true;
    set.hasY = true;
    for (const std::size_t i : reading_order(centres))
        set.markers.push_back({.x = centres[i].x,
                               .y = centres[i].y,
                               .id = static_cast<std::int32_t>(set.markers.size()) + 1});
    return set;
}

MarkerSet find_markers(const image& picture, const DetectionOptions& options, Progress& progress) {
    return number_dots(find_dots(picture, options, progress));
}

}  // namespace vyn
