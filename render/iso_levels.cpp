#include "render/iso_levels.h"

#include <algorithm>
#include <cmath>

namespace vyn {

std::vector<double> iso_levels(const Limits& limits, int count) {
    std::vector<double> levels;
    const int wanted = std::clamp(count, 0, most_iso_levels);
    for (int i = 1; i <= wanted; ++i)
        levels.push_back(limits.minimum + (limits.maximum - limits.minimum) * i / (wanted + 1));
    return levels;
}

std::vector<double> iso_levels_by_step(const Limits& limits, double step) {
    if (!(step > 0)) return {};
    // A step such as 0.1 is no binary number: a limit that is a multiple of it counts all the same.
    constexpr double slack = 1e-9;
    const double first = std::ceil(limits.minimum / step - slack);
    const double last = std::floor(limits.maximum / step + slack);
    if (!(last - first < most_iso_levels)) return {};
    std::vector<double> levels;
    for (int i = 0; i <= static_cast<int>(last - first); ++i)
        levels.push_back((first + i) * step);
    return levels;
}

}  // namespace vyn
