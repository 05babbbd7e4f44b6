#include "render/palette_style.h"

#include <algorithm>
#include <cmath>

namespace vyn {

namespace {

/// A colour of a ramp; 0 is its first one, 1 its last one.
PaletteColour colour_at(const palette_array& palette, int first, int last, double share) {
    const auto index = std::lround(first + share * (last - first));
    return palette.entries[static_cast<std::size_t>(std::clamp(index, 0L, 255L))];
}

/// Fills a ramp of n levels and one more entry: the upper limit itself belongs to the last level.
void fill_levels(const palette_array& from, int first, int last, const PaletteStyle& style,
                 palette_array& to, int to_first) {
    for (int i = 0; i <= style.levels; ++i) {
        const double middle = (std::min(i, style.levels - 1) + 0.5) / style.levels;
        to.entries[static_cast<std::size_t>(to_first + i)] =
            colour_at(from, first, last, style.inverted ? 1 - middle : middle);
    }
}

}  // namespace

palette_array styled(const palette_array& palette, const PaletteStyle& style) {
    palette_array result = palette;
    if (palette.last <= palette.first) return result;
    if (style.inverted) {
        std::reverse(result.entries.begin() + palette.first,
                     result.entries.begin() + palette.last + 1);
        if (palette.own_pale_ramp)
            std::reverse(result.entries.begin() + palette.pale_first,
                         result.entries.begin() + palette.pale_last + 1);
        else
            result.build_pale_ramp();
    }
    if (style.levels < 1) return result;
    PaletteStyle cut = style;
    cut.levels = std::min(style.levels, most_palette_levels);
    result.last = static_cast<std::uint8_t>(result.first + cut.levels);
    result.over = static_cast<std::uint8_t>(result.last + 1);
    result.pale_first = static_cast<std::uint8_t>(result.over + 1);
    result.pale_last = static_cast<std::uint8_t>(result.pale_first + cut.levels);
    result.pale_over = static_cast<std::uint8_t>(result.pale_last + 1);
    result.own_pale_ramp = true;
    fill_levels(palette, palette.first, palette.last, cut, result, result.first);
    fill_levels(palette, palette.pale_first, palette.pale_last, cut, result, result.pale_first);
    result.entries[result.over] = palette.entries[palette.over];
    result.entries[result.pale_over] = palette.entries[palette.pale_over];
    return result;
}

}  // namespace vyn
