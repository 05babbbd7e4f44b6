#include "render/ticks.h"

#include <algorithm>
#include <cmath>

#include "core/numbers.h"

namespace vyn {

namespace {

/// The smallest of 1, 2, 5 times a power of ten that is not below.
double round_step(double least) {
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double digit : {1.0, 2.0, 5.0})
        if (digit * power >= least * (1 - 1e-9)) return digit * power;
    return 10 * power;
}

/// Fixed decimals for everyday numbers, else as many significant digits as tell ticks apart.
std::string tick_text(double value, double step, double largest) {
    const int decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)));
    if (largest < 1e6 && decimals <= 5) return format_fixed(value, decimals);
    const int digits = static_cast<int>(std::ceil(std::log10(largest / step) - 1e-9)) + 1;
    return format_general(value, std::clamp(digits, 1, 12));
}

}  // namespace

Ticks make_ticks(double low, double high, int most) {
    Ticks ticks;
    const double range = high - low;
    if (!std::isfinite(range) || !(range > 0) || most < 2) return ticks;
    const double largest = std::max(std::abs(low), std::abs(high));
    if (range < 1e-12 * largest) return ticks;
    ticks.step = round_step(range / most);
    const auto first = [&] { return std::ceil(low / ticks.step - 1e-9); };
    const auto last = [&] { return std::floor(high / ticks.step + 1e-9); };
    while (last() - first() >= most)
        ticks.step = round_step(1.5 * ticks.step);
    const auto steps = static_cast<int>(last() - first());
    for (int i = 0; i <= steps; ++i) {
        const double n = first() + i;
        const double value = n == 0 ? 0 : n * ticks.step;
        ticks.values.push_back(value);
        ticks.texts.push_back(tick_text(value, ticks.step, largest));
    }
    return ticks;
}

}  // namespace vyn
