#pragma once

#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "align/pairing_parts.h"

namespace vyn::pairing_parts {

/// What mappings are judged by.
struct Evidence {
    std::vector<Point> places;  ///< markers of the reference image
    /// How far place i, mapped, is from its partner in pixels; nothing outside the window.
    std::function<std::optional<double>(std::size_t i, const Point& mapped)> distance;
    /// The pairs inside the window under a mapping.
    std::function<std::vector<MarkerPair>(const PolyTransform&)> agreeing;
};

/// The mapping that most of the evidence agrees with, of at most so many coefficients per axis.
///
/// Shifts, similarities and affine maps through one, two and three of the candidate pairs are tried
/// (random sample consensus, Fischler & Bolles 1981; all of them where they are few, else drawn
/// with a fixed seed); of equals the one that moves the markers less wins. The best is fitted to
/// the pairs that agree with it, order by order, until these stay the same. The identity without
/// candidates.
PolyTransform consensus_mapping(std::span<const MarkerPair> candidates, int coefficients,
                                const Evidence& evidence, const Window& window);

/// What a residual may be beside the others.
inline constexpr double suspicious_pixels = 1;
inline constexpr double suspicious_medians = 5;

/// How far each pair is from the mapping, in pixels of the moved image.
std::vector<double> distances_from(const PolyTransform& mapping, std::span<const MarkerPair> pairs);

/// Where distances begin to stand out: five times their median, but no less than one pixel.
double suspicious_distance(std::span<const double> distances);

/// The least-squares mapping of the pairs.
PolyFit fit_pairs(std::span<const MarkerPair> pairs, int coefficients);

}  // namespace vyn::pairing_parts
