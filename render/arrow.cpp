#include "render/arrow.h"

#include <algorithm>
#include <cmath>

namespace vyn {

std::vector<Stroke> arrow(Point from, Point along) {
    constexpr double head_share = 0.3;  // of the shaft
    constexpr double longest_head = 8;
    constexpr double least_length = 0.5;
    constexpr double most_length = 1e5;
    const double length = std::hypot(along.x, along.y);
    if (!(length > least_length && length < most_length)) return {};
    const Point tip{from.x + along.x, from.y + along.y};
    const double head = std::min(head_share * length, longest_head) / length;
    const Point back{along.x * head, along.y * head};
    const Point side{-back.y / 2, back.x / 2};
    return {{from, tip},
            {{tip.x - back.x + side.x, tip.y - back.y + side.y},
             tip,
             {tip.x - back.x - side.x, tip.y - back.y - side.y}}};
}

}  // namespace vyn
