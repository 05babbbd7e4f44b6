#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/progress.h"
#include "markers/marker.h"
#include "resect/consensus.h"

namespace vyn {

/// Pairs of equal numbers among active markers; a number that stands twice in a list is left out.
std::vector<DotPair> pairs_by_number(const std::vector<Marker>& markers,
                                     const std::vector<Marker>& dots, double image_sigma);

/// Pairs of markers and dots that are each other's nearest within the reach (pixels) of a pose.
std::vector<DotPair> nearest_pairs(const PinholeCamera& camera, const Pose& pose,
                                   const std::vector<Marker>& markers,
                                   const std::vector<Marker>& dots, double reach,
                                   double image_sigma);

/// Starting near a pose: pairs within four gates, fit, a smaller reach, until the pairs stand
/// still.
struct GeometryPairing {
    Pose pose;
    std::vector<DotPair> pairs;
    std::size_t rival = 0;  ///< pairs of another pose that explains nearly as many; 0 = none
};
std::optional<GeometryPairing> settle_pairs(const PinholeCamera& camera, const Pose& start,
                                            const std::vector<Marker>& markers,
                                            const std::vector<Marker>& dots, double gate,
                                            double image_sigma, const Progress& progress);

/// Without a pose: random triples of neighbouring dots and of neighbouring markers, their
/// three-point poses, and how many markers fall on dots there. The first pose that settles on at
/// least 8 pairs and half of the shorter list wins; as many draws again look for a rival. A fixed
/// seed. Nothing when no pose is found.
std::optional<GeometryPairing> pairs_by_geometry(const PinholeCamera& camera,
                                                 const std::vector<Marker>& markers,
                                                 const std::vector<Marker>& dots, double gate,
                                                 double image_sigma, const Progress& progress);

}  // namespace vyn
