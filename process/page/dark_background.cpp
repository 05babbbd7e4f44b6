#include "process/page/dark_background.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace vyn {

std::optional<DarkBackground> dark_background(const image& picture) {
    constexpr double dark_part = 0.05;
    constexpr double least_share = 0.02;
    constexpr int large = 512;
    const int step = std::min(picture.width(), picture.height()) > large ? 4 : 1;
    std::vector<float> values;
    for (int y = 0; y < picture.height(); y += step)
        for (int x = 0; x < picture.width(); x += step)
            if (const float value = picture.values()(x, y);
                picture.mask()(x, y) == 0 && std::isfinite(value))
                values.push_back(value);
    if (values.empty()) return {};
    const auto percentile = [&](std::size_t percent) {
        const auto at =
            values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) * percent / 100);
        std::ranges::nth_element(values, at);
        return static_cast<double>(*at);
    };
    const double low = percentile(1);
    const double level = low + dark_part * (percentile(99) - low);
    const auto dark = std::ranges::count_if(values, [&](float value) { return value < level; });
    const double share = static_cast<double>(dark) / static_cast<double>(values.size());
    if (share < least_share || !(level > 0)) return {};
    const double digit = std::pow(10, std::floor(std::log10(level)) - 1);
    return DarkBackground{share, std::ceil(level / digit) * digit};
}

}  // namespace vyn
