#include "api/displacement.h"

#include <algorithm>

namespace vyn {

int node_pitch(const image& picture) {
    if (!picture.displacement) return 1;
    const bool is_grid = picture.displacement->u.same_size(picture.values());
    return is_grid ? 1 : std::max(picture.displacement->step, 1);
}

std::optional<Vector2> displacement_at(const image& picture, int x, int y) {
    if (!picture.displacement) return std::nullopt;
    const Displacement& grid = *picture.displacement;
    const int step = node_pitch(picture);
    const auto node = [step](int pixel, int count) {
        const int nearest = (pixel + step / 2) / step;
        return nearest == count ? count - 1 : nearest;
    };
    const int column = node(x, grid.u.width());
    const int row = node(y, grid.u.height());
    if (x < 0 || y < 0 || !grid.u.contains(column, row) || !grid.v.contains(column, row))
        return std::nullopt;
    return Vector2{grid.u(column, row), grid.v(column, row)};
}

}  // namespace vyn
