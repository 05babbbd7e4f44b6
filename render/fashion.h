#pragma once

#include <array>
#include <memory>
#include <string>

#include "api/image.h"
#include "render/limits.h"
#include "render/palette.h"

namespace vyn {

/// How the vectors of a displacement map are drawn.
struct VectorStyle {
    bool shown = false;
    double scale = 1;  ///< image pixels drawn per pixel of displacement; above 0
    int u_skip = 1;    ///< every so many columns of nodes are drawn; from 1
    int v_skip = 1;    ///< likewise rows
    bool operator==(const VectorStyle&) const = default;
};

/// Images shown together: each alone in false colour, or the first three as red, green and blue.
struct ColourChannels {
    static constexpr int count = 4;
    static constexpr int colour = 0;
    int shown = 1;  ///< a channel from 1, or `colour`
    std::array<std::string, count>
        names;  ///< of the images; empty: none. The first is the viewer's
    bool operator==(const ColourChannels&) const = default;
};

/// How an image is shown.
struct Fashion {
    Limits limits;
    /// Never null. Shared, because assigning to a palette keeps what lies beside its ramps.
    std::shared_ptr<const palette_array> palette = std::make_shared<const palette_array>();
    VectorStyle vectors;
    ColourChannels channels;

    void set_palette(const palette_array& chosen) {
        palette = std::make_shared<const palette_array>(chosen);
    }
    bool operator==(const Fashion& other) const {
        return limits == other.limits && *palette == *other.palette && vectors == other.vectors &&
               channels == other.channels;
    }
};

/// The limits to a thousandth or so of their range, so that they read well.
Limits tidy(const Limits& limits);

/// A style in which at most some 40 vectors stand side by side and a long one (of the 95th
/// percentile) reaches its neighbour. Not shown.
VectorStyle suggested_vectors(const Displacement& map);

}  // namespace vyn
