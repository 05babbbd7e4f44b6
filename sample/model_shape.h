#pragma once

#include <optional>

#include "mesh/vec3.h"

namespace vyn {

/// A place on the synthetic model's surface, in its own frame without wind.
struct SurfacePlace {
    enum class Part { body, upper, lower };
    Part part = Part::body;
    Vec3 place{};
    double chordwise = 0;  ///< 0 to 1: along the body, or from the wing's leading edge
    double spanwise = 0;   ///< -1 to 1 from tip to tip; of the body 0
};

/// A line of sight; `direction` of length 1.
struct ModelRay {
    Vec3 origin{};
    Vec3 direction{};
    Vec3 at(double t) const { return origin + t * direction; }
};

/// A wing on a body of revolution, in formulas; mm, x downstream, y to starboard, z up. The body is
/// a spheroid about the x axis. The wing is swept, has a symmetric four-digit section (Jacobs, Ward
/// & Pinkerton 1933) with its trailing edge closed, and its planform is rounded to a point at the
/// tips.
namespace model_shape {

constexpr double body_length = 760;
constexpr double body_radius = 55;
constexpr double half_span = 480;
/// Around what cameras aim at.
constexpr Vec3 middle{405, 0, 0};

double chord(double y);                   ///< mm
double leading_edge(double y);            ///< x
double half_thickness(double chordwise);  ///< in chords
double body_radius_at(double x);

Vec3 body_place(double along, double angle);  ///< angle from +z towards +y, radians
Vec3 wing_place(double chordwise, double y, SurfacePlace::Part side);
/// |y| at which the wing comes out of the body at that share of the chord.
double wing_root(double chordwise);
/// Outward, of length 1; at the wing's edges that of the side that the place is on.
Vec3 normal_at(const SurfacePlace& place);

/// How far the wing is bent up at y when its tips are by `tip`; 0 within the body's radius.
double bending(double y, double tip);

struct Hit {
    double distance = 0;
    SurfacePlace place;
};
/// The nearest place that the ray meets of the model whose tips are bent up by `tip` mm, found to
/// 1e-9 mm; nothing where it misses.
std::optional<Hit> nearest_hit(const ModelRay& ray, double tip);

}  // namespace model_shape

}  // namespace vyn
