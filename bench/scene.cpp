#include "bench/scene.h"

#include <cmath>

namespace vyn::bench {

namespace {

/// Spreads the bits of a 64-bit counter (finaliser of MurmurHash3, Appleby 2011).
std::uint64_t hashed(std::uint64_t value) {
    value ^= value >> 33;
    value *= 0xff51afd7ed558ccdULL;
    value ^= value >> 33;
    value *= 0xc4ceb9fe1a85ec53ULL;
    return value ^ (value >> 33);
}

/// -0.5 to 0.5 from 32 bits.
double noise(std::uint64_t bits) {
    return static_cast<double>(bits & 0xffffffffU) / 4294967296.0 - 0.5;
}

Distortion lens_of(double n) {
    const double half_square = n * n / 2;
    return {n / 2 - 0.3, n / 2 + 0.4, 0.02 / half_square, -0.004 / (half_square * half_square)};
}

PolyTransform mapping_of(double n) {
    const double q = 3 / (n * n);
    PolyTransform map;
    map.n = 6;
    map.ax = {3.3, 1.0012, 0.0021, 0.8 * q, 0.7 * q, -0.6 * q};
    map.ay = {-2.1, -0.0019, 0.9991, -0.5 * q, 0.4 * q, 0.9 * q};
    return map;
}

FieldConversion conversion_of_scene() {
    FieldConversion conversion;
    conversion.quantity = FieldQuantity::pressure;
    conversion.law = {-21000, 98000, 24000};
    conversion.wind_off_ratio = 1.013;
    conversion.unit_factor = 1e-3;
    conversion.limit = true;
    conversion.lower = 1;
    conversion.upper = 250;
    return conversion;
}

}  // namespace

Scene::Scene(int n)
    : size(n),
      off(n, n),
      on(n, n),
      dark(n, n),
      flat(n, n),
      lens(lens_of(n)),
      off_from_on(mapping_of(n)),
      conversion(conversion_of_scene()) {
    const double half = n / 2.0;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            const double u = (x - half) / half;
            const double v = (y - half) / half;
            const std::uint64_t bits =
                hashed(static_cast<std::uint64_t>(y) * static_cast<std::uint64_t>(n) +
                       static_cast<std::uint64_t>(x) + 1);
            const double noise1 = noise(bits);
            const double noise2 = noise(bits >> 32);
            const bool model = 0.95 * u * u + 1.3 * v * v < 1;
            const double texture =
                1800 + 500 * std::sin(7 * u + 3 * v) + 200 * std::cos(31 * u * v + 5 * v);
            off.values()(x, y) =
                static_cast<float>(model ? texture + 40 * noise1 : 55 + 8 * noise1);
            on.values()(x, y) = static_cast<float>(
                model ? 0.8 * texture * (1 + 0.15 * std::sin(4 * u)) + 40 * noise2
                      : 55 + 8 * noise2);
            dark.values()(x, y) = static_cast<float>(48 + 6 * noise2);
            const bool dead = hashed(bits) % 100000 == 0;
            flat.values()(x, y) =
                dead ? 0 : static_cast<float>(1 - 0.25 * (u * u + v * v) + 0.01 * noise2);
        }
}

}  // namespace vyn::bench
