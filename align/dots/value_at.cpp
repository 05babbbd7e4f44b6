#include "align/dots/value_at.h"

#include <cmath>

namespace vyn {

std::optional<double> value_at(const image& picture, Point p) {
    const int x = static_cast<int>(std::floor(p.x));
    const int y = static_cast<int>(std::floor(p.y));
    if (!picture.values().contains(x, y) || !picture.values().contains(x + 1, y + 1))
        return std::nullopt;
    const double u = p.x - x;
    const double v = p.y - y;
    double value = 0;
    for (int j = 0; j <= 1; ++j)
        for (int i = 0; i <= 1; ++i) {
            if (picture.mask()(x + i, y + j) != 0) return std::nullopt;
            value += (i ? u : 1 - u) * (j ? v : 1 - v) * picture.values()(x + i, y + j);
        }
    return value;
}

}  // namespace vyn
