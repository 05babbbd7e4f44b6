#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "sample/model_shape.h"

namespace vyn {

/// A registration dot on the synthetic model.
struct ModelDot {
    std::int32_t number = 0;
    SurfacePlace surface;
};

/// Paint and pressure of the synthetic model as functions of the place on its surface.
class ModelScene {
  public:
    /// Light of what is not model, counts.
    static constexpr double ground_counts = 900;

    /// `mm_per_pixel`, about, of the pictures to be: dots, texture and the shock are as large as
    /// pixels ask for. The seed chooses texture and the places of dots and ports.
    ModelScene(double mm_per_pixel, std::uint64_t seed);

    /// Wind-off light of the paint in counts, without dark level.
    double light(const SurfacePlace& at) const;
    /// Pressure in pascal: on the wing's upper side suction that ends in a shock, 5 pixels from a
    /// tenth to nine tenths of its rise.
    double pressure(const SurfacePlace& at) const;

    /// Dots on both sides of the wing and around the body, whether a camera sees them or not.
    /// Coordinates have the six digits of marker files.
    const std::vector<ModelDot>& dots() const { return dots_; }
    /// Pressure ports on the wing's upper side, between the dots.
    const std::vector<SurfacePlace>& ports() const { return ports_; }
    /// Radius of a dot, and the distance from its middle at which its trace is below 1e-9; mm.
    double dot_radius() const { return dot_radius_; }
    double dot_reach() const { return 2.2 * dot_radius_; }

  private:
    struct Wave {
        Vec3 k;
        double phase;
    };
    void place_dots(std::uint64_t seed);
    double wing_cp(const SurfacePlace& at) const;

    double dot_radius_;
    double shock_width_;     ///< mm
    double junction_width_;  ///< over which the wing's pressure joins the body's; mm
    std::array<Wave, 6> texture_{};
    std::vector<ModelDot> dots_;
    std::vector<SurfacePlace> ports_;
};

}  // namespace vyn
