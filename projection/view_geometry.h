#pragma once

#include <optional>
#include <span>

#include "mesh/vec3.h"
#include "projection/kernels/pinhole_kernels.h"
#include "projection/projection.h"

namespace vyn {

/// Where a view sees places of the mesh, in pixels of its field.
class ViewGeometry {
  public:
    ViewGeometry(const ProjectedView& view, double mm_per_unit);

    /// The camera in the mesh's frame and unit.
    const Vec3& centre() const { return centre_; }

    /// Nothing behind the camera or where the lens does not see.
    std::optional<Point> pixel(const Vec3& place) const;
    /// The same for many places, to rounding; NaN for nothing. `x` and `y` have room for all.
    void pixels(std::span<const Vec3> places, double* x, double* y) const;

    /// Standard deviation of a value with that gradient from the pose's covariance; 0 without one.
    double sigma(const Vec3& place, Point pixel, const std::array<double, 2>& gradient) const;

  private:
    Eigen::Vector3d in_camera(const Vec3& place) const {
        return view_.pose.in_camera(mm_per_unit_ * Eigen::Vector3d(place[0], place[1], place[2]));
    }

    /// Nothing where the camera's lens does not see it.
    std::optional<Point> through_lenses(Point ideal) const;

    const ProjectedView& view_;
    double mm_per_unit_;
    Vec3 centre_{};
    PinholeView pinhole_{};
    bool same_lens_ = true;
};

}  // namespace vyn
