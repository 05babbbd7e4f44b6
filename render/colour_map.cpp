#include "render/colour_map.h"

#include <algorithm>
#include <limits>

namespace vyn {

namespace {

/// Smallest ranges of the two ramps; they differ on purpose.
constexpr double least_main_range = 0.00001;
constexpr double least_pale_range = 1.0;

double usable(double limit) {
    constexpr double largest = std::numeric_limits<float>::max();
    return std::isnan(limit) ? 0 : std::clamp(limit, -largest, largest);
}

}  // namespace

void colour_map::set_limits(double minimum, double maximum) {
    minimum_ = minimum;
    maximum_ = maximum;
    update();
}

void colour_map::set_palette(const palette_array& palette) {
    palette_ = palette;
    update();
}

colour_map::Ramp colour_map::make_ramp(double minimum, double maximum, double least_range,
                                       std::uint8_t first, std::uint8_t last,
                                       std::uint8_t background) {
    const double range = maximum - minimum;
    Ramp ramp;
    ramp.scale = (last - first) / (range > least_range ? range : least_range);
    ramp.offset = first - minimum * ramp.scale;
    ramp.low = first;
    ramp.high = last;
    ramp.background = background;
    return ramp;
}

void colour_map::colour_row(const float* value, const std::uint8_t* background,
                            const std::uint8_t* in_roi, std::size_t n, std::uint32_t* out) const {
    for (std::size_t i = 0; i < n; ++i)
        out[i] = colour(value[i], background[i] != 0, in_roi[i] != 0);
}

void colour_map::update() {
    const double low = usable(minimum_);
    const double high = usable(maximum_);
    main_ = make_ramp(low, high, least_main_range, palette_.first, palette_.last, palette_.over);
    pale_ = make_ramp(low, high, least_pale_range, palette_.pale_first, palette_.pale_last,
                      palette_.pale_over);
    for (std::size_t i = 0; i < argb_.size(); ++i)
        argb_[i] = palette_.entries[i].argb();
}

}  // namespace vyn
