#include "uncertainty/median_variance.h"

#include <cmath>
#include <numbers>

namespace vyn::median_variance {

namespace {

double of_window(int width, int height, double slope_x, double slope_y) {
    double spread = 0;
    double density = 0;
    for (int y = -height / 2; y <= height / 2; ++y)
        for (int x = -width / 2; x <= width / 2; ++x) {
            const double place = slope_x * x + slope_y * y;
            const double below = 0.5 * std::erfc(-place / std::numbers::sqrt2);
            spread += below * (1 - below);
            density += std::exp(-place * place / 2);
        }
    const double asymptotic = 2 * std::numbers::pi * spread / (density * density);
    return asymptotic * density / (density + 0.57);
}

double over_directions(const FilterOptions& median, double slope) {
    constexpr int directions = 8;
    double sum = 0;
    for (int i = 0; i < directions; ++i) {
        const double angle = std::numbers::pi * (i + 0.5) / directions;
        sum += of_window(median.dx, median.dy, slope * std::cos(angle), slope * std::sin(angle));
    }
    return sum / directions;
}

}  // namespace

std::vector<float> table(const FilterOptions& median) {
    const double of_mean = 1.0 / ((median.dx | 1) * (median.dy | 1));
    std::vector<float> result(entries);
    for (int i = 0; i < entries; ++i) {
        const double octave = first_octave + (i + 0.5) / entries_per_octave;
        const double left = over_directions(median, std::exp2(octave / 2));
        result[static_cast<std::size_t>(i)] =
            static_cast<float>((left - of_mean) * std::pow(left, median.iterations - 1));
    }
    return result;
}

}  // namespace vyn::median_variance
