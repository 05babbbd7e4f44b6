#include "tests/align/dots/dot_scene.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "tests/support/picture_of.h"

namespace vyn::test {
namespace {

constexpr double paint_value = 20000;
constexpr double ground_share = 0.05;
constexpr double blur = 0.6;
constexpr int subpixels = 3;

/// Share of a half plane's light at this distance inside its edge, blurred.
double edge(double inside) {
    return 0.5 * std::erfc(-inside / (blur * std::sqrt(2.0)));
}

/// Share of the pixel that the dot covers, blurred.
double coverage(Point centre, double radius, int x, int y) {
    if (std::hypot(x - centre.x, y - centre.y) > radius + 5) return 0;
    double sum = 0;
    for (int j = 0; j < subpixels; ++j)
        for (int i = 0; i < subpixels; ++i)
            sum += edge(radius - std::hypot(x + (i + 0.5) / subpixels - 0.5 - centre.x,
                                            y + (j + 0.5) / subpixels - 0.5 - centre.y));
    return sum / (subpixels * subpixels);
}

/// Distance inside the painted panel: turned rectangle less a round hole, a bar and a thin streak.
double inside_panel(const DotScene& scene, double x, double y) {
    const double u = x - scene.width / 2.0;
    const double v = y - scene.height / 2.0;
    const double angle = 0.15 + 0.1 * static_cast<double>(scene.seed % 5);
    const double s = u * std::cos(angle) + v * std::sin(angle);
    const double t = v * std::cos(angle) - u * std::sin(angle);
    const double panel =
        std::min(0.42 * scene.width - std::abs(s), 0.36 * scene.height - std::abs(t));
    const double hole = std::hypot(s - 0.2 * scene.width, t) - 0.07 * scene.height;
    const double bar = std::max(std::abs(s + 0.22 * scene.width) - 5, std::abs(t) - 40);
    const double streak = std::max(std::abs(t - 0.28 * scene.height) - 1, std::abs(s) - 60);
    return std::min({panel, hole, bar, streak});
}

}  // namespace

DotPicture make_dot_picture(const DotScene& scene) {
    std::mt19937_64 random(scene.seed);
    const auto uniform = [&](double low, double high) {
        return low + (high - low) * static_cast<double>(random() >> 11) * 0x1p-53;
    };
    std::normal_distribution<double> normal;
    DotPicture result{image(scene.width, scene.height), {}};
    struct Dot {
        Point centre;
        double radius;
        double factor;
    };
    std::vector<Dot> dots;
    for (int tries = 0; static_cast<int>(dots.size()) < scene.dots && tries < 20000; ++tries) {
        const double contrast = uniform(scene.min_contrast, scene.max_contrast);
        const Dot dot{{uniform(20, scene.width - 20), uniform(20, scene.height - 20)},
                      uniform(scene.min_radius, scene.max_radius),
                      scene.polarity == DotPolarity::dark ? -contrast : contrast};
        const bool free = std::none_of(dots.begin(), dots.end(), [&](const Dot& other) {
            return std::hypot(dot.centre.x - other.centre.x, dot.centre.y - other.centre.y) <
                   3.5 * std::max(dot.radius, other.radius) + 6;
        });
        if (free && inside_panel(scene, dot.centre.x, dot.centre.y) > 2 * dot.radius + 4)
            dots.push_back(dot);
    }
    const double light_x = uniform(-0.6, 0.6);
    const double light_y = uniform(-0.4, 0.4);
    const double wave = uniform(0.03, 0.06);
    for (int y = 0; y < scene.height; ++y)
        for (int x = 0; x < scene.width; ++x) {
            const double light = 1 + light_x * (double(x) / scene.width - 0.5) +
                                 light_y * (double(y) / scene.height - 0.5) +
                                 0.05 * std::sin(wave * x) * std::cos(1.3 * wave * y);
            const double paint = edge(inside_panel(scene, x, y));
            double value = paint_value * light * (ground_share + (1 - ground_share) * paint);
            for (const Dot& dot : dots)
                value *= 1 + dot.factor * coverage(dot.centre, dot.radius, x, y);
            value += paint_value * scene.noise * (0.1 + 0.9 * paint) * normal(random);
            result.picture.values()(x, y) = static_cast<float>(std::max(value, 0.0));
        }
    for (const Dot& dot : dots)
        result.centres.push_back(dot.centre);
    return result;
}

image one_dot(Point centre, double radius, double contrast, double noise, DotPolarity polarity,
              std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    const double factor = polarity == DotPolarity::dark ? -contrast : contrast;
    return picture_of(48, 48, [&](int x, int y) {
        const double light = 1 + 0.004 * (x - 24) - 0.002 * (y - 24);
        const double dot = 1 + factor * coverage(centre, radius, x, y);
        return paint_value * (light * dot + noise * normal(random));
    });
}

}  // namespace vyn::test
