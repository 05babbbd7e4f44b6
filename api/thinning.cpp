#include "api/thinning.h"

#include <algorithm>
#include <vector>

#include "api/image_parts.h"
#include "api/parallel.h"

namespace vyn {

namespace {

/// out[i] = 1 where a flag is set within `depth` elements: sweeps in both directions keep the
/// distance to the last set one.
template <class Flag, class Set>
void spread(int n, int depth, Flag flag, Set set) {
    int distance = n;
    for (int i = 0; i < n; ++i) {
        distance = flag(i) ? 0 : std::min(distance + 1, n);
        if (distance <= depth && distance < n) set(i);
    }
    distance = n;
    for (int i = n - 1; i >= 0; --i) {
        distance = flag(i) ? 0 : std::min(distance + 1, n);
        if (distance <= depth && distance < n) set(i);
    }
}

/// Excluded pixels spread along their rows.
Bitmap<std::uint8_t> spread_along_rows(const image& picture, int depth, Progress& progress) {
    constexpr int rows_per_block = 32;
    const int width = picture.width();
    Bitmap<std::uint8_t> near(width, picture.height(), 0);
    parallel_rows(picture.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const std::uint8_t* const mask = picture.mask().row(y);
            std::uint8_t* const to = near.row(y);
            spread(
                width, depth, [mask](int x) { return mask[x] != 0; }, [to](int x) { to[x] = 1; });
        }
    });
    return near;
}

}  // namespace

void thin(image& picture, int depth, Progress& progress) {
    check_all_planes(picture);
    if (depth <= 0) return;
    constexpr int columns_per_strip = 64;
    const int width = picture.width();
    const int height = picture.height();
    SubProgress first(progress, 0, 0.5);
    const Bitmap<std::uint8_t> near = spread_along_rows(picture, depth, first);
    Bitmap<std::uint8_t> mask = picture.mask();
    SubProgress second(progress, 0.5, 1);
    const auto sweep_row = [&](int y, int x0, int x1, int* distance) {
        const std::uint8_t* const row = near.row(y);
        const std::uint8_t* const region = region_row(picture, y);
        std::uint8_t* const to = mask.row(y);
        for (int x = x0; x < x1; ++x) {
            int& steps = distance[x - x0];
            steps = row[x] != 0 ? 0 : std::min(steps + 1, height);
            const bool inside = !region || region[x] != 0;
            if (inside && to[x] == 0 && steps <= depth && steps < height) to[x] = 1;
        }
    };
    const int strips = (width + columns_per_strip - 1) / columns_per_strip;
    parallel_rows(strips, 1, second, [&](int strip0, int strip1) {
        const int x0 = strip0 * columns_per_strip;
        const int x1 = std::min(strip1 * columns_per_strip, width);
        std::vector<int> distance(static_cast<std::size_t>(x1 - x0), height);
        for (int y = 0; y < height; ++y)
            sweep_row(y, x0, x1, distance.data());
        std::fill(distance.begin(), distance.end(), height);
        for (int y = height - 1; y >= 0; --y)
            sweep_row(y, x0, x1, distance.data());
    });
    picture.set_mask(std::move(mask));
}

}  // namespace vyn
