#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "render/palette.h"

namespace vyn {

/// From values to the colours of a palette, between two limits.
///
/// Limits may be anything: equal ones and a minimum above the maximum give a step at the minimum,
/// infinite ones count as the largest number, NaN as 0.
class colour_map {
  public:
    colour_map() { update(); }
    colour_map(double minimum, double maximum, const palette_array& palette)
        : minimum_(minimum), maximum_(maximum), palette_(palette) {
        update();
    }

    double minimum() const { return minimum_; }
    double maximum() const { return maximum_; }
    const palette_array& palette() const { return palette_; }
    void set_limits(double minimum, double maximum);
    void set_palette(const palette_array& palette);

    /// Index in the palette. A value that is no number counts as background.
    std::uint8_t index(float value, bool background, bool in_roi) const;
    /// The opaque colour of that index, 0xAARRGGBB.
    std::uint32_t colour(float value, bool background, bool in_roi) const {
        return argb_[index(value, background, in_roi)];
    }

    /// The colours of n pixels.
    void colour_row(const float* value, const std::uint8_t* background, const std::uint8_t* in_roi,
                    std::size_t n, std::uint32_t* out) const;

  private:
    /// A value's position in the palette is value * scale + offset, held between two indices.
    struct Ramp {
        double offset = 0;
        double scale = 0;
        double low = 0;
        double high = 0;
        std::uint8_t background = 0;
    };
    static Ramp make_ramp(double minimum, double maximum, double least_range, std::uint8_t first,
                          std::uint8_t last, std::uint8_t background);
    void update();

    double minimum_ = 0;
    double maximum_ = 1;
    palette_array palette_;
    Ramp main_;
    Ramp pale_;
    std::array<std::uint32_t, 256> argb_{};
};

inline std::uint8_t colour_map::index(float value, bool background, bool in_roi) const {
    const Ramp& ramp = in_roi ? main_ : pale_;
    if (background || std::isnan(value)) return ramp.background;
    double position = value * ramp.scale + ramp.offset;
    if (ramp.low <= ramp.high) {
        position = position < ramp.low ? ramp.low : position;
        position = position > ramp.high ? ramp.high : position;
    }
    // A ramp that runs backwards is not held, but an index is.
    position = position > 0 ? position : 0;
    return static_cast<std::uint8_t>(position < 255 ? position : 255);
}

}  // namespace vyn
