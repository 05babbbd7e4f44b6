#include "render/difference.h"

#include <algorithm>
#include <cmath>

#include "api/image_parts.h"
#include "api/pixel_ops.h"

namespace vyn {

Limits difference_limits(const ImageLevels& a, const ImageLevels& b) {
    constexpr int enough = 512;
    int k = 0;
    const int most = std::min(a.count(), b.count()) - 1;
    while (k < most && std::max(a.level(k).values->width(), a.level(k).values->height()) > enough)
        ++k;
    const ImageLevels::Level from = a.level(k);
    const ImageLevels::Level subtracted = b.level(k);
    std::vector<float> sizes;
    const int width = std::min(from.values->width(), subtracted.values->width());
    const int height = std::min(from.values->height(), subtracted.values->height());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if ((*from.mask)(x, y) || (*subtracted.mask)(x, y)) continue;
            const float size = std::abs((*from.values)(x, y) - (*subtracted.values)(x, y));
            if (std::isfinite(size)) sizes.push_back(size);
        }
    if (sizes.empty()) return {0, 0};
    const auto rank = static_cast<std::ptrdiff_t>(0.99 * static_cast<double>(sizes.size() - 1));
    std::nth_element(sizes.begin(), sizes.begin() + rank, sizes.end());
    const double widest = static_cast<double>(sizes[static_cast<std::size_t>(rank)]);
    return {-widest, widest};
}

std::shared_ptr<const image> difference_of(const image& a, const image& b) {
    auto difference = std::make_shared<image>(with_planes(a, a.values(), a.mask()));
    if (a.quantity != b.quantity || a.unit != b.unit) {
        difference->quantity = {};
        difference->unit.clear();
    }
    subtract(*difference, b);
    return difference;
}

}  // namespace vyn
