#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "api/point.h"

namespace vyn {

/// A uniform deviate in [0, 1) that depends on its three arguments only (splitmix64, Steele, Lea &
/// Flood 2014), the same on every machine.
double hashed_uniform(std::uint64_t seed, std::uint64_t stream, std::uint64_t index);
/// A normal deviate of variance 1, likewise (Box & Muller 1958).
double hashed_normal(std::uint64_t seed, std::uint64_t stream, std::uint64_t index);

/// The painted model of a synthetic test point as functions of the position in the ideal wind-off
/// picture, in pixels: a swept, rounded wing before a dark ground. All functions are smooth and
/// defined everywhere.
class SyntheticScene {
  public:
    /// `speckled`: a fine texture of 15 % of the light everywhere, and 12 dots instead of 30.
    enum class Surface { plain, speckled };

    /// Radius of a registration dot, and distance from its centre at which its trace is below 1e-9.
    static constexpr double dot_radius = 3.0;
    static constexpr double dot_reach = 2.2 * dot_radius;

    /// Flow around the model, pascal.
    static constexpr double static_pressure = 90000;
    static constexpr double dynamic_pressure = 25000;

    /// The picture's size in pixels. The seed chooses texture and the places of dots and ports.
    SyntheticScene(int width, int height, std::uint64_t seed, Surface surface = Surface::plain);

    /// Distance to the model's outline in pixels (first order near it), positive inside.
    double inside(Point p) const;
    /// Wind-off intensity in counts, without dark level.
    double wind_off(Point p) const;
    /// Intensity of the reference dye likewise, another amount of it everywhere.
    double reference(Point p) const;
    /// Pressure in pascal.
    double pressure(Point p) const;

    /// Centres of the registration dots and of the pressure ports, all on the model.
    const std::vector<Point>& dots() const { return dots_; }
    const std::vector<Point>& ports() const { return ports_; }

  private:
    /// Position in the wing's frame: chordwise and spanwise, +-1 at the outline's extremes.
    struct Wing {
        double chord;
        double span;
    };
    struct Wave {
        double kx;
        double ky;
        double phase;
    };
    Wing wing(Point p) const;
    Point from_wing(Wing w) const;
    double paint(Point p) const;
    double speckle(Point p) const;
    double dot_factor(Point p) const;
    double before_ground(Point p, double paint_light, double ground) const;

    Point centre_;
    double half_chord_;
    double half_span_;
    double compression_width_;  ///< in units of the chord
    std::uint64_t seed_;
    Surface surface_;
    std::array<Wave, 6> texture_{};
    std::vector<Point> dots_;
    std::vector<Point> ports_;
};

}  // namespace vyn
