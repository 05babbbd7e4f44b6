#pragma once

#include "align/correlation/correlation_alignment.h"
#include "align/displacement_map.h"
#include "align/image_map.h"
#include "api/image.h"

namespace vyn {

/// What of a measured displacement is beyond a mapping known before.
struct DisplacementLeft {
    double rms = 0;      ///< over the measured nodes, pixels
    double largest = 0;  ///< pixels
    Point at;            ///< where the largest is
};
DisplacementLeft displacement_left(const CorrelationResult& result, const ImageMap& known);

/// A mapping in the form of a measured displacement, with nodes every `step` pixels, measured where
/// the wind-off picture has valid pixels and without deviation. Raises AlgoError for a step
/// below 1.
CorrelationResult displacement_of(const ImageMap& map, const image& off, int step);

/// The displacement beyond a mapping, from the identity the whole, as an image on the wind-off
/// picture's pixels: its length in pixels as values, the nodes' u and v as displacement. Excluded
/// are the wind-off picture's excluded pixels and those whose nearest node was not measured.
image displacement_image(const CorrelationResult& result, const image& off, const ImageMap& known,
                         Progress& progress);

/// The standard deviation of the displacement likewise: length of the two components' deviations,
/// which are the nodes' u and v.
image displacement_sigma_image(const CorrelationResult& result, const image& off,
                               Progress& progress);

/// The nodes for a plotting package, likewise.
DisplacementMap displacement_map(const CorrelationResult& result, const ImageMap& known);

/// The nodes as a table: x, y, u, v, standard deviations of u and v, and 1 where measured. Pixels.
std::string displacement_csv(const CorrelationResult& result, const ImageMap& known);

}  // namespace vyn
