#include "render/fashion.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "render/iso_levels.h"
#include "render/view_source.h"

namespace vyn {

const char* usual_palette(const Quantity& quantity) {
    const bool raw = quantity.kind == Quantity::Kind::raw_counts && !quantity.deviation;
    return raw ? "grey" : "rainbow";
}

Limits tidy(const Limits& limits) {
    const double range = limits.maximum - limits.minimum;
    if (!std::isfinite(range) || !(range > 0)) return limits;
    // Dividing by a whole number gives the shortest decimals.
    const double per_unit = std::pow(10, 3 - std::floor(std::log10(range)));
    const auto rounded = [&](double value) {
        return per_unit >= 1 ? std::round(value * per_unit) / per_unit
                             : std::round(value / (1 / per_unit)) * (1 / per_unit);
    };
    const Limits result{rounded(limits.minimum), rounded(limits.maximum)};
    return std::isfinite(result.minimum) && std::isfinite(result.maximum) ? result : limits;
}

std::vector<double> IsoStyle::levels(const Limits& limits) const {
    switch (kind) {
        case Kind::none:
            return {};
        case Kind::number:
            return iso_levels(limits, static_cast<int>(std::clamp(number, 0.0, 1e3)));
        case Kind::step:
            return iso_levels_by_step(limits, step);
    }
    return {};
}

VectorStyle suggested_vectors(const image& picture) {
    constexpr int most_beside = 40;
    VectorStyle style;
    if (!picture.displacement) return style;
    const Displacement& map = *picture.displacement;
    const int width = map.u.width();
    const int height = map.u.height();
    const int skip = std::max(1, (std::max(width, height) + most_beside - 1) / most_beside);
    style.u_skip = style.v_skip = skip;
    std::vector<double> lengths;
    for (int y = 0; y < std::min(height, map.v.height()); y += skip)
        for (int x = 0; x < std::min(width, map.v.width()); x += skip) {
            const double length = std::hypot(map.u(x, y), map.v(x, y));
            if (std::isfinite(length) && length > 0) lengths.push_back(length);
        }
    if (lengths.empty()) return style;
    const auto rank = static_cast<std::ptrdiff_t>(0.95 * static_cast<double>(lengths.size() - 1));
    std::nth_element(lengths.begin(), lengths.begin() + rank, lengths.end());
    style.scale = skip * node_pitch(picture) / lengths[static_cast<std::size_t>(rank)];
    // Two digits say it as well, and read better in the dialog.
    const double digit = std::pow(10, std::floor(std::log10(style.scale)) - 1);
    style.scale = std::round(style.scale / digit) * digit;
    return style;
}

}  // namespace vyn
