#include "align/dots/extreme_search.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace vyn {

namespace {

constexpr float min_start = 1e10F;
constexpr float max_start = -1e10F;

/// The pixel of an extreme value; nothing where no pixel stands out.
std::optional<Point> extreme_pixel(const image& picture, Point click,
                                   const ExtremeSearchOptions& options) {
    float minimum = min_start;
    float maximum = max_start;
    Point at_minimum;
    Point at_maximum;
    // Only offsets whose pixels can lie in the image; truncation puts (-1, 0) into column 0.
    const double size = std::min(options.size, max_bitmap_side);
    const auto first = [&](double c) {
        return static_cast<int>(std::clamp(std::floor(-1 - c), -size, size + 1));
    };
    const auto last = [&](double c, int length) {
        return static_cast<int>(std::clamp(std::ceil(length - c), -size - 1, size));
    };
    for (int j = first(click.y); j <= last(click.y, picture.height()); ++j)
        for (int i = first(click.x); i <= last(click.x, picture.width()); ++i) {
            const int x = static_cast<int>(click.x + i);
            const int y = static_cast<int>(click.y + j);
            if (!picture.values().contains(x, y) || picture.mask()(x, y) != 0) continue;
            const float value = picture.values()(x, y);
            if (value < minimum) {
                minimum = value;
                at_minimum = {double(x), double(y)};
            }
            if (value > maximum) {
                maximum = value;
                at_maximum = {double(x), double(y)};
            }
        }
    if (minimum == min_start || maximum == max_start || minimum == maximum) return std::nullopt;
    return options.polarity == DotPolarity::dark ? at_minimum : at_maximum;
}

}  // namespace

ExtremeSearch find_extreme(const image& picture, Point click, const ExtremeSearchOptions& options) {
    picture.check_planes();
    ExtremeSearch result{false, click};
    if (options.size < 0 || !std::isfinite(click.x) || !std::isfinite(click.y)) return result;
    Point chosen = extreme_pixel(picture, click, options)
                       .value_or(Point{std::trunc(click.x), std::trunc(click.y)});
    const int half = options.size / 2;
    if (std::abs(click.x - chosen.x) > half || std::abs(click.y - chosen.y) > half) return result;
    refine_marker(picture, chosen, options.size, options.polarity, options.refinement);
    return {true, chosen};
}

}  // namespace vyn
