#pragma once

#include <span>

#include "align/poly_transform.h"

namespace vyn {

/// How the pictures of two channels lie to each other, positions without lens distortion. The
/// signal channel's wind-off picture is the frame of the results. Each mapping takes a pixel of the
/// picture named second to the same point of the model in the one named first.
struct ChannelMaps {
    PolyTransform signal_on_from_off;
    PolyTransform reference_on_from_off;
    PolyTransform reference_from_signal;  ///< both wind-off
};

/// How far two ways lead apart that should meet.
struct MapConsistency {
    int points = 0;
    double rms = 0;  ///< of the distances, pixels of the signal channel's wind-on picture
    double max = 0;
};

/// Takes points of the signal channel's wind-on picture round all pictures: to the reference
/// channel by the mapping found without wind, to its wind-off picture, back to the signal channel
/// and to its wind-on picture. With cameras that stand still towards each other each point comes
/// back to itself; how far it does not is what the mappings leave open.
MapConsistency consistency_of(const ChannelMaps& maps, std::span<const Point> signal_on);

}  // namespace vyn
