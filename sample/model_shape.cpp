#include "sample/model_shape.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vyn::model_shape {

namespace {

constexpr double root_chord = 250;
constexpr double taper = 0.45;      // tip over root chord of the planform before it is rounded
constexpr double sweep = 0.42;      // mm of x per mm of y
constexpr double apex = 200;        // x of the leading edge at y = 0
constexpr double rounding = 8;      // power of the rounding: the tip's last tenth
constexpr double rounded_at = 0.4;  // share of the chord about which it shrinks
constexpr double thickness = 0.12;
/// Of the section's formula with its trailing edge closed.
constexpr double section[5]{0.2969, -0.1260, -0.3516, 0.2843, -0.1036};
/// Half the wing's largest thickness, with some room.
constexpr double slab = 0.51 * thickness * root_chord;

double straight_chord(double share) {
    return root_chord * (1 - (1 - taper) * share);
}

double trailing_slope() {
    return 5 * thickness *
           (section[0] / 2 + section[1] + 2 * section[2] + 3 * section[3] + 4 * section[4]);
}

/// Half the wing's thickness at (x, y), continued outside of the planform by falling planes, so
/// that it is concave over y > 0: a line meets the body below it once.
double wing_height(double x, double y) {
    const double c = chord(y);
    const double from_leading = x - leading_edge(y);
    if (from_leading < 0) return 2 * from_leading;
    if (from_leading > c) return trailing_slope() * (from_leading - c);
    return c > 0 ? c * half_thickness(from_leading / c) : 0;
}

/// Below 0 inside of the bent wing.
double outside_wing(const Vec3& p, double tip) {
    return std::abs(p[2] - bending(p[1], tip)) - wing_height(p[0], p[1]);
}

struct Interval {
    double low;
    double high;
    bool empty() const { return !(low < high); }
    /// What of it has value between low and high along a line.
    void cut(double origin, double slope, double from, double to) {
        if (slope == 0) {
            if (!(origin >= from && origin <= to)) high = low;
            return;
        }
        const double a = (from - origin) / slope;
        const double b = (to - origin) / slope;
        low = std::max(low, std::min(a, b));
        high = std::min(high, std::max(a, b));
    }
};

/// A place in the interval where a convex function is below 0, by golden sections; nothing where it
/// stays above. `steepest` bounds its slope.
template <class Function>
std::optional<double> place_below_zero(const Function& f, Interval in, double steepest) {
    constexpr double golden = 0.6180339887498949;
    double a = in.high - golden * (in.high - in.low);
    double b = in.low + golden * (in.high - in.low);
    double at_a = f(a);
    double at_b = f(b);
    while (true) {
        if (at_a < 0) return a;
        if (at_b < 0) return b;
        const double width = in.high - in.low;
        if (width < 1e-9 || std::min(at_a, at_b) > steepest * width) return std::nullopt;
        if (at_a < at_b) {
            in.high = b;
            b = a;
            at_b = at_a;
            a = in.high - golden * (in.high - in.low);
            at_a = f(a);
        } else {
            in.low = a;
            a = b;
            at_a = at_b;
            b = in.low + golden * (in.high - in.low);
            at_b = f(b);
        }
    }
}

/// Where the function falls through 0 between `above` and `below`: secants that are halved when an
/// end stays (Dowell and Jarratt 1971).
template <class Function>
double root_between(const Function& f, double above, double below) {
    double at_above = f(above);
    double at_below = f(below);
    int side = 0;
    for (int i = 0; i < 200 && std::abs(below - above) > 1e-10; ++i) {
        double t = (above * at_below - below * at_above) / (at_below - at_above);
        if (i % 8 == 7 || !std::isfinite(t)) t = (above + below) / 2;
        const double value = f(t);
        if (value == 0) return t;
        if (value < 0) {
            below = t;
            at_below = value;
            if (side == -1) at_above /= 2;
            side = -1;
        } else {
            above = t;
            at_above = value;
            if (side == 1) at_below /= 2;
            side = 1;
        }
    }
    return (above + below) / 2;
}

std::optional<double> hit_wing(const ModelRay& ray, double tip, double side) {
    constexpr double steepest = 20;
    Interval in{0, std::numeric_limits<double>::max()};
    const double room = slab + std::abs(tip);
    in.cut(side * ray.origin[1], side * ray.direction[1], 0, half_span);
    in.cut(ray.origin[2], ray.direction[2], -room, room);
    in.cut(ray.origin[0], ray.direction[0], apex, leading_edge(half_span) + root_chord);
    if (in.empty()) return std::nullopt;
    const auto outside = [&](double t) { return outside_wing(ray.at(t), tip); };
    const double at_start = outside(in.low);
    // Only the cut at the plane of symmetry, inside of the body, can begin within the wing.
    if (at_start < 0) return std::nullopt;
    // Nearly every line that hits passes the plane z = 0 within the wing.
    const double through = -ray.origin[2] / ray.direction[2];
    std::optional<double> within;
    if (through > in.low && through < in.high && outside(through) < 0) within = through;
    if (!within) within = place_below_zero(outside, in, steepest);
    if (!within) return std::nullopt;
    return root_between(outside, in.low, *within);
}

std::optional<double> hit_body(const ModelRay& ray) {
    // A line and the unit sphere, in coordinates that are shrunk to it.
    const Vec3 scale{2 / body_length, 1 / body_radius, 1 / body_radius};
    Vec3 origin = ray.origin - Vec3{body_length / 2, 0, 0};
    Vec3 direction = ray.direction;
    for (std::size_t i = 0; i < 3; ++i) {
        origin[i] *= scale[i];
        direction[i] *= scale[i];
    }
    const double a = dot(direction, direction);
    // From the point nearest to the middle, where little cancels.
    const double nearest = -dot(origin, direction) / a;
    const Vec3 closest = origin + nearest * direction;
    const double rest = 1 - dot(closest, closest);
    if (!(rest > 0)) return std::nullopt;
    return nearest - std::sqrt(rest / a);
}

SurfacePlace place_on_wing(Vec3 p, double tip) {
    const double height = p[2] - bending(p[1], tip);
    SurfacePlace result;
    result.part = height >= 0 ? SurfacePlace::Part::upper : SurfacePlace::Part::lower;
    const double c = chord(p[1]);
    result.chordwise = c > 0 ? std::clamp((p[0] - leading_edge(p[1])) / c, 0.0, 1.0) : 0;
    result.spanwise = p[1] / half_span;
    result.place = {p[0], p[1], height};
    return result;
}

}  // namespace

double chord(double y) {
    const double share = std::min(std::abs(y) / half_span, 1.0);
    return straight_chord(share) * std::sqrt(1 - std::pow(share, rounding));
}

double leading_edge(double y) {
    const double share = std::min(std::abs(y) / half_span, 1.0);
    return apex + sweep * half_span * share + rounded_at * (straight_chord(share) - chord(y));
}

double half_thickness(double chordwise) {
    const double x = chordwise;
    return 5 * thickness *
           (section[0] * std::sqrt(x) +
            x * (section[1] + x * (section[2] + x * (section[3] + x * section[4]))));
}

double body_radius_at(double x) {
    const double u = 2 * x / body_length - 1;
    return body_radius * std::sqrt(std::max(0.0, 1 - u * u));
}

Vec3 body_place(double along, double angle) {
    const double x = body_length * along;
    const double r = body_radius_at(x);
    return {x, r * std::sin(angle), r * std::cos(angle)};
}

Vec3 wing_place(double chordwise, double y, SurfacePlace::Part side) {
    const double c = chord(y);
    const double height = c * std::max(0.0, half_thickness(chordwise));
    return {leading_edge(y) + chordwise * c, y,
            side == SurfacePlace::Part::upper ? height : -height};
}

double wing_root(double chordwise) {
    double inside = 0;
    double outside = 2 * body_radius;
    for (int i = 0; i < 60; ++i) {
        const double y = (inside + outside) / 2;
        const Vec3 p = wing_place(chordwise, y, SurfacePlace::Part::upper);
        (std::hypot(p[1], p[2]) < body_radius_at(p[0]) ? inside : outside) = y;
    }
    return (inside + outside) / 2;
}

Vec3 normal_at(const SurfacePlace& place) {
    const Vec3& p = place.place;
    Vec3 n{};
    if (place.part == SurfacePlace::Part::body) {
        n = {(p[0] - body_length / 2) * 4 / (body_length * body_length),
             p[1] / (body_radius * body_radius), p[2] / (body_radius * body_radius)};
    } else {
        // By differences inward from the edges; the leading edge itself faces upstream.
        if (place.chordwise <= 0) return {-1, 0, 0};
        const double dx =
            1e-5 * std::min(place.chordwise, 1 - place.chordwise) * chord(p[1]) + 1e-9;
        const double dy = 1e-4;
        const double by_x =
            (wing_height(p[0] + dx, p[1]) - wing_height(p[0] - dx, p[1])) / (2 * dx);
        const double by_y =
            (wing_height(p[0], p[1] + dy) - wing_height(p[0], p[1] - dy)) / (2 * dy);
        n = {-by_x, -by_y, place.part == SurfacePlace::Part::upper ? 1.0 : -1.0};
    }
    return (1 / length(n)) * n;
}

double bending(double y, double tip) {
    const double out = std::max(0.0, std::abs(y) - body_radius) / (half_span - body_radius);
    return tip * out * out;
}

std::optional<Hit> nearest_hit(const ModelRay& ray, double tip) {
    std::optional<Hit> best;
    if (const auto t = hit_body(ray)) {
        const Vec3 p = ray.at(*t);
        best = Hit{*t, {SurfacePlace::Part::body, p, std::clamp(p[0] / body_length, 0.0, 1.0), 0}};
    }
    for (const double side : {1.0, -1.0})
        if (const auto t = hit_wing(ray, tip, side); t && (!best || *t < best->distance))
            best = Hit{*t, place_on_wing(ray.at(*t), tip)};
    return best;
}

}  // namespace vyn::model_shape
