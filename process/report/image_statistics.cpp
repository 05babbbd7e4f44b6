#include "process/report/image_statistics.h"

#include <algorithm>

namespace vyn {

std::int64_t saturated_count(const image& picture) {
    std::int64_t count = 0;
    if (!picture.saturated) return count;
    for (int y = 0; y < picture.saturated->height(); ++y)
        for (int x = 0; x < picture.saturated->width(); ++x)
            count += (*picture.saturated)(x, y) != 0;
    return count;
}

ImageStatistics image_statistics(const image& picture) {
    ImageStatistics result;
    result.pixels = static_cast<std::int64_t>(picture.values().count());
    result.saturated = saturated_count(picture);
    double sum = 0;
    for (int y = 0; y < picture.height(); ++y) {
        const float* values = picture.values().row(y);
        const std::uint8_t* mask = picture.mask().row(y);
        for (int x = 0; x < picture.width(); ++x) {
            if (mask[x]) continue;
            const double value = values[x];
            ++result.valid;
            sum += value;
            result.minimum = std::min(result.minimum, value);
            result.maximum = std::max(result.maximum, value);
        }
    }
    if (result.valid > 0) result.mean = sum / static_cast<double>(result.valid);
    return result;
}

}  // namespace vyn
