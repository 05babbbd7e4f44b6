#pragma once

#include "render/palette.h"

namespace vyn {

inline constexpr int most_palette_levels = 64;

/// How a palette is used.
struct PaletteStyle {
    bool inverted = false;  ///< the last colour for the lower limit
    int levels = 0;  ///< of one colour each, equally wide, to `most_palette_levels`; 0: smooth
    bool operator==(const PaletteStyle&) const = default;
};

/// The palette with its ramps inverted and cut into levels: a level has the colour that the ramp
/// has in its middle. Background keeps its colours. A main ramp that runs backwards stays as it is.
palette_array styled(const palette_array& palette, const PaletteStyle& style);

}  // namespace vyn
