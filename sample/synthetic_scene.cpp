#include "sample/synthetic_scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vyn {

namespace {

constexpr double sweep = 0.15;  // columns per row
constexpr double ground_counts = 900;
constexpr double paint_counts = 33000;
constexpr double reference_ground_counts = 800;
constexpr double reference_share = 0.8;      // of the signal paint's light
constexpr double texture_amplitude = 0.012;  // of each wave, relative
constexpr double shortest_wave = 18;         // pixels; well resolved by the splines
constexpr double longest_wave = 60;
constexpr double edge_blur = 0.6;  // standard deviation of the outline's blur in pixels
constexpr double dot_depth = 0.75;

// Streams of the hashed deviates.
constexpr std::uint64_t texture_stream = 1;
constexpr std::uint64_t dot_stream = 2;

constexpr std::uint64_t speckle_stream = 3;

constexpr double speckle_strength = 0.15;  // standard deviation, relative
constexpr double speckle_size = 1.8;       // of its Gaussian grains, standard deviation in pixels
constexpr int grain_distance = 2;          // pixels

/// Dots of a surface, along chord and span.
struct DotLattice {
    int columns;
    int rows;
};
constexpr DotLattice dots_of(SyntheticScene::Surface surface) {
    return surface == SyntheticScene::Surface::plain ? DotLattice{6, 5} : DotLattice{4, 3};
}
constexpr double lattice_chord = 0.75;
constexpr double lattice_span = 0.72;
constexpr double jitter = 0.02;

std::uint64_t mixed(std::uint64_t value) {
    value += 0x9e3779b97f4a7c15u;
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9u;
    value = (value ^ (value >> 27)) * 0x94d049bb133111ebu;
    return value ^ (value >> 31);
}

double square(double v) {
    return v * v;
}

double lattice(double index, int count, double extent) {
    return extent * (2 * index / (count - 1) - 1);
}

}  // namespace

double hashed_uniform(std::uint64_t seed, std::uint64_t stream, std::uint64_t index) {
    return static_cast<double>(mixed(mixed(mixed(seed) ^ stream) ^ index) >> 11) * 0x1p-53;
}

double hashed_normal(std::uint64_t seed, std::uint64_t stream, std::uint64_t index) {
    const double radius = std::sqrt(-2 * std::log(1 - hashed_uniform(seed, stream, 2 * index)));
    const double angle = 2 * std::numbers::pi * hashed_uniform(seed, stream, 2 * index + 1);
    return radius * std::cos(angle);
}

SyntheticScene::SyntheticScene(int width, int height, std::uint64_t seed, Surface surface)
    : centre_{0.5 * (width - 1), 0.5 * (height - 1)},
      half_chord_(0.38 * width),
      half_span_(0.36 * height),
      compression_width_(std::max(0.05, 9 / (2 * half_chord_))),
      seed_(seed),
      surface_(surface) {
    for (std::size_t i = 0; i < texture_.size(); ++i) {
        const auto random = [&](std::uint64_t k) {
            return hashed_uniform(seed, texture_stream, 3 * i + k);
        };
        const double wave_number =
            2 * std::numbers::pi / (shortest_wave + (longest_wave - shortest_wave) * random(0));
        const double direction = std::numbers::pi * random(1);
        texture_[i] = {wave_number * std::cos(direction), wave_number * std::sin(direction),
                       2 * std::numbers::pi * random(2)};
    }
    const auto [dot_columns, dot_rows] = dots_of(surface);
    for (int row = 0; row < dot_rows; ++row)
        for (int column = 0; column < dot_columns; ++column) {
            const std::uint64_t k = 2 * dots_.size();
            const double du = jitter * (2 * hashed_uniform(seed, dot_stream, k) - 1);
            const double dv = jitter * (2 * hashed_uniform(seed, dot_stream, k + 1) - 1);
            dots_.push_back(from_wing({lattice(column, dot_columns, lattice_chord) + du,
                                       lattice(row, dot_rows, lattice_span) + dv}));
        }
    // Between the dots of a plain surface.
    const auto [port_columns, port_rows] = dots_of(Surface::plain);
    for (int row = 0; row + 1 < port_rows; ++row)
        for (int column = 0; column + 1 < port_columns; ++column)
            ports_.push_back(from_wing({lattice(column + 0.5, port_columns, lattice_chord),
                                        lattice(row + 0.5, port_rows, lattice_span)}));
}

SyntheticScene::Wing SyntheticScene::wing(Point p) const {
    const double y = p.y - centre_.y;
    return {(p.x - centre_.x - sweep * y) / half_chord_, y / half_span_};
}

Point SyntheticScene::from_wing(Wing w) const {
    const double y = half_span_ * w.span;
    return {centre_.x + half_chord_ * w.chord + sweep * y, centre_.y + y};
}

double SyntheticScene::inside(Point p) const {
    // A super-ellipse of degree 4: q = 1 on the outline, q grows linearly along each ray.
    const auto [u, v] = wing(p);
    const double q = std::sqrt(std::sqrt(square(u * u) + square(v * v)));
    if (q < 1e-3) return std::min(half_chord_, half_span_);
    const double du = u * u * u / (q * q * q) / half_chord_;
    const double dv = v * v * v / (q * q * q) / half_span_;
    return (1 - q) / std::hypot(du, dv - sweep * du);
}

double SyntheticScene::paint(Point p) const {
    const auto [u, v] = wing(p);
    double texture = 0;
    for (const Wave& wave : texture_)
        texture += std::sin(wave.kx * p.x + wave.ky * p.y + wave.phase);
    const double light = 1 + 0.15 * u - 0.08 * v - 0.06 * (u * u + v * v);
    const double even = paint_counts * light * (1 + texture_amplitude * texture) * dot_factor(p);
    return surface_ == Surface::plain ? even : even * (1 + speckle(p));
}

/// Gaussian grains of random heights on a lattice.
double SyntheticScene::speckle(Point p) const {
    constexpr int reach = 3;  // lattice distances; there a grain is below 1e-4
    // Of a sum of such grains of unit variance.
    const double deviation = std::sqrt(std::numbers::pi) * speckle_size / grain_distance;
    const auto column = static_cast<std::int64_t>(std::round(p.x / grain_distance));
    const auto row = static_cast<std::int64_t>(std::round(p.y / grain_distance));
    double sum = 0;
    for (std::int64_t r = row - reach; r <= row + reach; ++r)
        for (std::int64_t c = column - reach; c <= column + reach; ++c) {
            const double dx = p.x - static_cast<double>(c * grain_distance);
            const double dy = p.y - static_cast<double>(r * grain_distance);
            const auto index = static_cast<std::uint64_t>((r << 32) + c);
            sum += hashed_normal(seed_, speckle_stream, index) *
                   std::exp(-(dx * dx + dy * dy) / (2 * square(speckle_size)));
        }
    return speckle_strength / deviation * sum;
}

double SyntheticScene::dot_factor(Point p) const {
    double factor = 1;
    for (const Point& dot : dots_) {
        const double d2 = square(p.x - dot.x) + square(p.y - dot.y);
        if (d2 < square(dot_reach))
            factor -= dot_depth * std::exp(-square(d2 / square(dot_radius)));
    }
    return factor;
}

double SyntheticScene::before_ground(Point p, double paint_light, double ground) const {
    const double distance = inside(p);
    const double coverage = 0.5 * std::erfc(-distance / (edge_blur * std::numbers::sqrt2));
    if (coverage == 0) return ground;
    return ground + (paint_light - ground) * coverage;
}

double SyntheticScene::wind_off(Point p) const {
    return before_ground(p, paint(p), ground_counts);
}

double SyntheticScene::reference(Point p) const {
    const auto [u, v] = wing(p);
    return before_ground(p, reference_share * (1 + 0.06 * std::sin(3 * u - 2 * v)) * paint(p),
                         reference_ground_counts);
}

double SyntheticScene::pressure(Point p) const {
    const auto [u, v] = wing(p);
    const double x = 0.5 * (u + 1);  // chord fraction from the leading edge
    const double stagnation = 0.16 * std::exp(-square(x / 0.12));
    const double suction = -0.6 * (1 - 0.15 * v * v) * std::exp(-square((x - 0.25) / 0.16));
    const double recovery = 0.12 * (x - 0.5);
    const double compression = 0.11 * (1 + std::tanh((x - 0.58 - 0.1 * v) / compression_width_));
    const double cp = -0.1 + stagnation + suction + recovery + compression;
    return static_pressure + dynamic_pressure * cp;
}

}  // namespace vyn
