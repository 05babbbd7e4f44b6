#include "sample/dot_scene.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>

namespace vyn {
namespace {

constexpr double paint_value = 20000;
constexpr double ground_share = 0.05;
constexpr double blur = 0.6;
constexpr int subpixels = 3;

/// Portable random numbers: those of the standard distributions differ between libraries.
class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    double uniform(double low, double high) {
        return low + (high - low) * static_cast<double>(engine_() >> 11) * 0x1p-53;
    }
    /// Sum of twelve uniform numbers less 6: a standard deviation of 1.
    double normal() {
        double sum = -6;
        for (int i = 0; i < 12; ++i)
            sum += uniform(0, 1);
        return sum;
    }
    bool coin() { return uniform(0, 1) < 0.5; }

  private:
    std::mt19937_64 engine_;
};

/// Share of a half plane's light at this distance inside its edge, blurred.
double edge(double inside) {
    return 0.5 * std::erfc(-inside / (blur * std::sqrt(2.0)));
}

/// Distance inside a shape, from its edge, in pixels.
using Shape = std::function<double(double x, double y)>;

/// Share of the pixel that the shape covers, blurred.
double coverage(const Shape& inside, int x, int y) {
    double sum = 0;
    for (int j = 0; j < subpixels; ++j)
        for (int i = 0; i < subpixels; ++i)
            sum += edge(inside(x + (i + 0.5) / subpixels - 0.5, y + (j + 0.5) / subpixels - 0.5));
    return sum / (subpixels * subpixels);
}

Shape disc(Point centre, double radius) {
    return [=](double x, double y) { return radius - std::hypot(x - centre.x, y - centre.y); };
}

/// A bar of this half length and half width.
Shape bar(Point centre, double angle, double length, double width) {
    return [=](double x, double y) {
        const double u = x - centre.x;
        const double v = y - centre.y;
        const double along = u * std::cos(angle) + v * std::sin(angle);
        const double across = v * std::cos(angle) - u * std::sin(angle);
        return std::min(length - std::abs(along), width - std::abs(across));
    };
}

/// What multiplies the light that the paint gives off.
class Panel {
  public:
    Panel(int width, int height) : factor_(width, height, 1.0F) {}

    /// The shape, which reaches so far from the place, gives `factor` times the paint's light.
    void add(Point place, double reach, double factor, const Shape& shape) {
        each(place, reach + 5,
             [&](int x, int y) { return 1 + (factor - 1) * coverage(shape, x, y); });
    }
    /// A spot without a rim, of these two standard deviations.
    void add_spot(Point place, double angle, double s, double t, double factor) {
        each(place, 4 * std::max(s, t), [&](int x, int y) {
            const double u = x - place.x;
            const double v = y - place.y;
            const double a = (u * std::cos(angle) + v * std::sin(angle)) / s;
            const double b = (v * std::cos(angle) - u * std::sin(angle)) / t;
            return 1 + (factor - 1) * std::exp(-(a * a + b * b) / 2);
        });
    }
    double at(int x, int y) const { return factor_(x, y); }

  private:
    template <class Factor>
    void each(Point place, double reach, const Factor& factor) {
        const auto first = [&](double c) { return std::max(static_cast<int>(c - reach), 0); };
        const auto last = [&](double c, int side) {
            return std::min(static_cast<int>(c + reach) + 1, side - 1);
        };
        for (int y = first(place.y); y <= last(place.y, factor_.height()); ++y)
            for (int x = first(place.x); x <= last(place.x, factor_.width()); ++x)
                factor_(x, y) *= static_cast<float>(factor(x, y));
    }
    Bitmap<float> factor_;
};

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

struct Dot {
    Point centre;
    double radius = 0;
    double contrast = 0;
};

/// What stands on the panel: nothing touches a dot or its surroundings.
class Places {
  public:
    Places(const DotScene& scene, Random& random) : scene_(scene), random_(random) {}

    /// A free place for something of this reach; nothing when there is none left.
    std::optional<Point> take(double reach, double gap) {
        constexpr int most_tries = 600;
        for (int tries = 0; tries < most_tries; ++tries) {
            const Point place{random_.uniform(20, scene_.width - 20),
                              random_.uniform(20, scene_.height - 20)};
            const bool free = std::none_of(taken_.begin(), taken_.end(), [&](const Disc& other) {
                return std::hypot(place.x - other.centre.x, place.y - other.centre.y) <
                       reach + other.reach + gap;
            });
            if (!free || inside_panel(scene_, place.x, place.y) < reach + 4) continue;
            taken_.push_back({place, reach});
            return place;
        }
        return std::nullopt;
    }

  private:
    struct Disc {
        Point centre;
        double reach;
    };
    const DotScene& scene_;
    Random& random_;
    std::vector<Disc> taken_;
};

void add_clutter(const DotScene& scene, Places& places, Random& random, Panel& panel) {
    const double radius = scene.min_radius;
    const auto angle = [&] { return random.uniform(0, std::numbers::pi); };
    for (int i = 0; i < scene.clutter.blocks; ++i)
        if (const auto place = places.take(32, 8)) {
            const double turn = angle();
            panel.add_spot({place->x + 14, place->y + 6}, turn, 18, 12, 0.6);
            panel.add(*place, 32, 0.06, bar(*place, turn, 24, 14));
        }
    for (int i = 0; i < scene.clutter.screws; ++i) {
        const double head = 2 * radius + random.uniform(2, 5);
        if (const auto place = places.take(head, 4)) {
            panel.add(*place, head, random.uniform(0.6, 0.85), disc(*place, head));
            panel.add(*place, head, random.uniform(0.3, 1.3), disc(*place, head - 1.5));
            panel.add(*place, head, 0.3, bar(*place, angle(), head - 1, 0.2 * head));
        }
    }
    for (int i = 0; i < scene.clutter.taps; ++i) {
        const double tap = radius * random.uniform(0.25, 0.45);
        if (const auto place = places.take(tap, 4))
            panel.add(*place, tap, random.uniform(0.05, 0.5), disc(*place, tap));
    }
    for (int i = 0; i < scene.clutter.scratches; ++i) {
        const double length = random.uniform(12, 60);
        const double width = random.uniform(0.3, 0.9);
        if (const auto place = places.take(length, 2 - 0.8 * length))
            panel.add(*place, length,
                      random.coin() ? random.uniform(0.5, 0.85) : random.uniform(1.1, 1.4),
                      bar(*place, angle(), length, width));
    }
    for (int i = 0; i < scene.clutter.specks; ++i) {
        const double size = radius * random.uniform(0.4, 1.2);
        const double longer = size * random.uniform(1, 3);
        const double strength = random.uniform(0.05, 0.5) * scene.min_contrast;
        if (const auto place = places.take(2 * longer, 1))
            panel.add_spot(*place, angle(), size, longer,
                           random.coin() ? 1 - strength : 1 + strength);
    }
}

}  // namespace

DotPicture make_dot_picture(const DotScene& scene) {
    Random random(scene.seed);
    Panel panel(scene.width, scene.height);
    Places places(scene, random);
    DotPicture result{image(scene.width, scene.height), {}};
    for (int i = 0; i < scene.dots; ++i) {
        const double radius = random.uniform(scene.min_radius, scene.max_radius);
        const double contrast = random.uniform(scene.min_contrast, scene.max_contrast);
        const auto place = places.take(2 * radius, 4);
        if (!place) continue;
        panel.add(*place, radius, scene.polarity == DotPolarity::dark ? 1 - contrast : 1 + contrast,
                  disc(*place, radius));
        result.centres.push_back(*place);
    }
    add_clutter(scene, places, random, panel);

    const double light_x = random.uniform(-0.6, 0.6);
    const double light_y = random.uniform(-0.4, 0.4);
    const double wave = random.uniform(0.03, 0.06);
    const double turn = random.uniform(0, 2 * std::numbers::pi);
    const double soft = random.uniform(6, 40);
    for (int y = 0; y < scene.height; ++y)
        for (int x = 0; x < scene.width; ++x) {
            const double u = x - scene.width / 2.0;
            const double v = y - scene.height / 2.0;
            const double shadow = 0.5 * std::erfc((u * std::cos(turn) + v * std::sin(turn)) / soft);
            const double light = (1 + light_x * u / scene.width + light_y * v / scene.height +
                                  0.05 * std::sin(wave * x) * std::cos(1.3 * wave * y)) *
                                 (1 - scene.clutter.shade * shadow);
            const double paint = edge(inside_panel(scene, x, y));
            const double value =
                paint_value * light * (ground_share + (1 - ground_share) * paint) * panel.at(x, y);
            const double noise = paint_value * scene.noise * (0.1 + 0.9 * paint) * random.normal();
            result.picture.values()(x, y) = static_cast<float>(std::max(value + noise, 0.0));
        }
    return result;
}

DotScene cluttered_scene(std::uint64_t number) {
    Random random(7919 * number);
    DotScene scene{.seed = number};
    scene.dots = static_cast<int>(random.uniform(8, 30));
    const double radius = random.uniform(1.6, 4.5);
    scene.min_radius = 0.92 * radius;
    scene.max_radius = (number % 5 == 0 ? 1.4 : 1.08) * radius;
    const double contrast = random.uniform(0.4, 0.85);
    scene.min_contrast = 0.9 * contrast;
    scene.max_contrast = 1.1 * contrast;
    scene.noise = random.uniform(0, 0.03);
    scene.polarity = number % 3 == 0 ? DotPolarity::bright : DotPolarity::dark;
    scene.clutter = {.taps = 12,
                     .screws = 5,
                     .scratches = 8,
                     .specks = 25,
                     .blocks = static_cast<int>(number % 3),
                     .shade = random.uniform(0, 0.5)};
    return scene;
}

image one_dot(Point centre, double radius, double contrast, double noise, DotPolarity polarity,
              std::uint64_t seed) {
    constexpr int side = 48;
    Random random(seed);
    const double factor = polarity == DotPolarity::dark ? -contrast : contrast;
    image picture(side, side);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const double light = 1 + 0.004 * (x - 24) - 0.002 * (y - 24);
            const double dot = 1 + factor * coverage(disc(centre, radius), x, y);
            picture.values()(x, y) =
                static_cast<float>(paint_value * (light * dot + noise * random.normal()));
        }
    return picture;
}

}  // namespace vyn
