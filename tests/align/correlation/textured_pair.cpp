#include "tests/align/correlation/textured_pair.h"

#include <cmath>
#include <limits>
#include <random>

#include "api/parallel.h"

namespace vyn::test {

namespace {

constexpr double margin = 120;   ///< of texture beyond the picture, pixels
constexpr double dot_rim = 0.6;  ///< softness of the dots, pixels

/// A number in 0..1 from an index: noise that does not depend on the order of evaluation.
double hashed(std::uint64_t index, std::uint64_t seed) {
    std::uint64_t z = index * 0x9e3779b97f4a7c15ULL + seed * 0xd1342543de82ef95ULL + 0x1234567;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    z ^= z >> 31;
    return (static_cast<double>(z >> 11) + 0.5) * 0x1p-53;
}

double normal(std::uint64_t index, std::uint64_t seed) {
    return std::sqrt(-2 * std::log(hashed(2 * index, seed))) *
           std::cos(2 * M_PI * hashed(2 * index + 1, seed));
}

}  // namespace

Texture::Texture(Kind kind, double size, double strength, int side, std::uint64_t seed)
    : kind_(kind),
      size_(size),
      reach_(kind == Kind::gaussians ? 4.5 * size : 2.2 * size + 12 * dot_rim),
      bucket_(reach_),
      buckets_(static_cast<int>((side + 2 * margin) / bucket_) + 1),
      origin_(-margin),
      spots_(static_cast<std::size_t>(buckets_) * static_cast<std::size_t>(buckets_)) {
    std::mt19937_64 random(seed);
    const auto uniform = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    const double span = buckets_ * bucket_;
    const double spacing = kind == Kind::gaussians ? 1.5 * size : 4.0 * size;
    const auto count = static_cast<std::size_t>(span * span / (spacing * spacing));
    for (std::size_t i = 0; i < count; ++i) {
        const double x = uniform() * span;
        const double y = uniform() * span;
        const double a = uniform();
        const double b = uniform();
        const Spot spot{x + origin_, y + origin_, kind == Kind::gaussians ? 2 * a - 1 : -1 - a,
                        size * (0.7 + 0.8 * b)};
        spots_[static_cast<std::size_t>(y / bucket_) * static_cast<std::size_t>(buckets_) +
               static_cast<std::size_t>(x / bucket_)]
            .push_back(spot);
    }
    double sum = 0;
    double squares = 0;
    constexpr int samples = 20000;
    for (int i = 0; i < samples; ++i) {
        const double value = raw({uniform() * side, uniform() * side});
        sum += value;
        squares += value * value;
    }
    mean_ = sum / samples;
    scale_ = strength / std::sqrt(squares / samples - mean_ * mean_);
}

double Texture::raw(Point p) const {
    const int column = static_cast<int>((p.x - origin_) / bucket_);
    const int row = static_cast<int>((p.y - origin_) / bucket_);
    double sum = 0;
    for (int j = std::max(row - 1, 0); j <= std::min(row + 1, buckets_ - 1); ++j)
        for (int i = std::max(column - 1, 0); i <= std::min(column + 1, buckets_ - 1); ++i)
            for (const Spot& spot :
                 spots_[static_cast<std::size_t>(j) * static_cast<std::size_t>(buckets_) +
                        static_cast<std::size_t>(i)]) {
                const double dx = p.x - spot.x;
                const double dy = p.y - spot.y;
                const double square = dx * dx + dy * dy;
                if (square > reach_ * reach_) continue;
                sum += kind_ == Kind::gaussians
                           ? spot.height * std::exp(-0.5 * square / (size_ * size_))
                           : spot.height /
                                 (1 + std::exp((std::sqrt(square) - spot.radius) / dot_rim * 2));
            }
    return sum;
}

double Texture::at(Point p) const {
    return 1 + scale_ * (raw(p) - mean_);
}

Point displaced_from(const Displacement2d& displacement, Point seen) {
    Point p = seen;
    for (int i = 0; i < 30; ++i) {
        const Point d = displacement(p);
        p = {seen.x - d.x, seen.y - d.y};
    }
    return p;
}

TexturedPair make_textured_pair(const PairScene& scene) {
    const Texture paint(scene.kind, scene.texture_size, scene.strength, scene.size, scene.seed);
    TexturedPair pair{image(scene.size, scene.size), image(scene.size, scene.size)};
    pair.off.name = "off";
    pair.on.name = "on";
    const auto value = [&](Point material, double gain, std::uint64_t noise_index,
                           std::uint64_t noise_seed) {
        double light = 0;
        const bool painted = scene.painted(material);
        if (painted)
            light = gain * (scene.bare(material) ? 1 : paint.at(material)) * scene.counts;
        else if (scene.masked_ground)
            return std::numeric_limits<double>::quiet_NaN();
        else
            light = scene.ground;
        double variance = scene.noise * scene.strength * scene.counts;
        if (!painted) variance = 0.2 * scene.ground;
        variance *= variance;
        if (scene.electrons_per_count > 0)
            variance += std::max(light, 0.0) / scene.electrons_per_count;
        return light + std::sqrt(variance) * normal(noise_index, noise_seed);
    };
    Bitmap<float>& off = pair.off.values();
    Bitmap<float>& on = pair.on.values();
    Progress progress;
    parallel_rows(scene.size, 8, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < scene.size; ++x) {
                const Point pixel{static_cast<double>(x), static_cast<double>(y)};
                const auto index =
                    static_cast<std::uint64_t>(y) * static_cast<std::uint64_t>(scene.size) +
                    static_cast<std::uint64_t>(x);
                const Point material = displaced_from(scene.displacement, pixel);
                off(x, y) = static_cast<float>(value(pixel, 1, index, 2 * scene.seed + 77));
                on(x, y) = static_cast<float>(
                    value(material, scene.gain(material), index, 2 * scene.seed + 78));
            }
    });
    return pair;
}

}  // namespace vyn::test
