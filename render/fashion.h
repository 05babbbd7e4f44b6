#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "api/image.h"
#include "render/limits.h"
#include "render/palette_style.h"

namespace vyn {

/// How the vectors of a displacement map are drawn.
struct VectorStyle {
    bool shown = false;
    double scale = 1;  ///< image pixels drawn per pixel of displacement; above 0
    int u_skip = 1;    ///< every so many columns of nodes are drawn; from 1
    int v_skip = 1;    ///< likewise rows
    bool operator==(const VectorStyle&) const = default;
};

/// Lines of equal value.
struct IsoStyle {
    enum class Kind {
        none,
        number,  ///< so many, evenly between the limits
        step,    ///< at the multiples of a step
    };
    Kind kind = Kind::none;
    double number = 10;
    double step = 1;
    bool labels = true;  ///< their values stand on them
    bool operator==(const IsoStyle&) const = default;

    /// The values within the limits that have a line, rising.
    std::vector<double> levels(const Limits& limits) const;
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
    PaletteStyle palette_style;
    IsoStyle iso;
    VectorStyle vectors;
    ColourChannels channels;

    void set_palette(const palette_array& chosen) {
        palette = std::make_shared<const palette_array>(chosen);
    }
    /// The palette as its style has it.
    palette_array shown_palette() const { return styled(*palette, palette_style); }
    bool operator==(const Fashion& other) const {
        return limits == other.limits && *palette == *other.palette &&
               palette_style == other.palette_style && iso == other.iso &&
               vectors == other.vectors && channels == other.channels;
    }
};

/// The name of the built-in palette that an image of this quantity is shown with at first: what a
/// camera took in grey.
const char* usual_palette(const Quantity& quantity);

/// The limits to a thousandth or so of their range, so that they read well.
Limits tidy(const Limits& limits);

/// A style in which at most some 40 vectors stand side by side and a long one (of the 95th
/// percentile) reaches its neighbour. Not shown; nothing is suggested for an image without.
VectorStyle suggested_vectors(const image& picture);

}  // namespace vyn
