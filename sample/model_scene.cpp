#include "sample/model_scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "core/numbers.h"
#include "sample/synthetic_scene.h"

namespace vyn {

namespace {

using Part = SurfacePlace::Part;

constexpr double paint_counts = 30000;
constexpr double texture_amplitude = 0.012;  // of each wave, relative
constexpr double shortest_wave = 18;         // pixels; well resolved by the splines
constexpr double longest_wave = 60;
constexpr double dot_depth = 0.75;
/// tanh rises from -0.8 to 0.8 over 2.197 of its width.
constexpr double shock_width_px = 5 / 2.197;
constexpr double junction_width_px = 12;

// Streams of the hashed deviates.
constexpr std::uint64_t texture_stream = 1;
constexpr std::uint64_t dot_stream = 2;

double square(double v) {
    return v * v;
}

/// With the digits that marker files keep.
Vec3 rounded(const Vec3& p) {
    Vec3 result;
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = parse_double(format_general(p[i], 6)).value_or(0);
    return result;
}

/// Around the body, too.
double body_cp(const Vec3& place) {
    const double x = std::clamp(place[0] / model_shape::body_length, 0.0, 1.0);
    const double height = place[2] / model_shape::body_radius;
    return 0.35 * std::exp(-square(x / 0.12)) - 0.18 * std::sin(std::numbers::pi * x) -
           0.06 * height * std::sin(2 * std::numbers::pi * x);
}

SurfacePlace on_wing(double chordwise, double spanwise, Part side) {
    return {side, model_shape::wing_place(chordwise, spanwise * model_shape::half_span, side),
            chordwise, spanwise};
}

SurfacePlace on_body(double along, double angle) {
    return {Part::body, model_shape::body_place(along, angle), along, 0};
}

}  // namespace

ModelScene::ModelScene(double mm_per_pixel, std::uint64_t seed)
    : dot_radius_(SyntheticScene::dot_radius * mm_per_pixel),
      shock_width_(shock_width_px * mm_per_pixel),
      junction_width_(junction_width_px * mm_per_pixel) {
    for (std::size_t i = 0; i < texture_.size(); ++i) {
        const auto random = [&](std::uint64_t k) {
            return hashed_uniform(seed, texture_stream, 4 * i + k);
        };
        const double wave_number =
            2 * std::numbers::pi /
            (mm_per_pixel * (shortest_wave + (longest_wave - shortest_wave) * random(0)));
        const double azimuth = 2 * std::numbers::pi * random(1);
        const double slope = 0.6 * (2 * random(2) - 1);
        const double flat = std::sqrt(1 - slope * slope);
        texture_[i] = {
            wave_number * Vec3{flat * std::cos(azimuth), flat * std::sin(azimuth), slope},
            2 * std::numbers::pi * random(3)};
    }
    place_dots(seed);
}

void ModelScene::place_dots(std::uint64_t seed) {
    std::uint64_t drawn = 0;
    const auto jitter = [&](double size) {
        return size * (2 * hashed_uniform(seed, dot_stream, drawn++) - 1);
    };
    const auto add = [&](SurfacePlace surface) {
        surface.place = rounded(surface.place);
        dots_.push_back({static_cast<std::int32_t>(dots_.size() + 1), surface});
    };
    for (const Part side : {Part::upper, Part::lower})
        for (const double span : {-0.85, -0.55, -0.27, 0.27, 0.55, 0.85})
            for (const double share : {0.15, 0.5, 0.85}) {
                if (side == Part::lower && share == 0.5) continue;
                const double chordwise = share + jitter(0.03);
                const double spanwise = span + jitter(0.03);
                add(on_wing(chordwise, spanwise, side));
            }
    for (const double share : {0.12, 0.3, 0.5, 0.7, 0.88})
        for (int k = 0; k < 4; ++k) {
            const double along = share + jitter(0.03);
            const double angle = std::numbers::pi / 2 * k + 0.35 + jitter(0.15);
            add(on_body(along, angle));
        }
    for (const double span : {-0.7, -0.4, 0.4, 0.7})
        for (const double share : {0.3, 0.68})
            ports_.push_back(on_wing(share, span, Part::upper));
}

double ModelScene::light(const SurfacePlace& at) const {
    double texture = 0;
    for (const Wave& wave : texture_)
        texture += std::sin(dot(wave.k, at.place) + wave.phase);
    double dots = 1;
    for (const ModelDot& dot : dots_) {
        const Vec3 apart = at.place - dot.surface.place;
        const double d2 = vyn::dot(apart, apart);
        if (d2 < square(dot_reach()))
            dots -= dot_depth * std::exp(-square(d2 / square(dot_radius_)));
    }
    const double x = (at.place[0] - model_shape::middle[0]) / model_shape::half_span;
    const double y = at.place[1] / model_shape::half_span;
    return paint_counts * (1 + 0.1 * x - 0.08 * y - 0.05 * y * y) *
           (1 + texture_amplitude * texture) * dots;
}

double ModelScene::wing_cp(const SurfacePlace& at) const {
    const double x = at.chordwise;
    const double span = std::abs(at.spanwise);
    // All fades to the tip, faster than the chord, so that pictures resolve it there.
    const double fading = (1 - 0.35 * span * span) * (1 - std::pow(span, 8));
    const double stagnation = 0.3 * fading * std::exp(-square(x / 0.1));
    // Lift fades to both edges, where the sides meet.
    const double lift = fading * std::sqrt(x) * (1 - x);
    if (at.part == Part::lower) return stagnation + 0.35 * lift;
    const double from_shock =
        (x - 0.52 - 0.08 * span) * model_shape::chord(at.spanwise * model_shape::half_span);
    const double behind = (1 + std::tanh(from_shock / shock_width_)) / 2;
    return stagnation - 1.5 * lift * (1 - 0.8 * behind);
}

double ModelScene::pressure(const SurfacePlace& at) const {
    double cp = body_cp(at.place);
    if (at.part != Part::body) {
        const double off_body =
            std::hypot(at.place[1], at.place[2]) - model_shape::body_radius_at(at.place[0]);
        cp += (wing_cp(at) - cp) * (1 - std::exp(-square(off_body / junction_width_)));
    }
    return SyntheticScene::static_pressure + SyntheticScene::dynamic_pressure * cp;
}

}  // namespace vyn
