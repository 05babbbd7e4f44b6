#pragma once

#include <optional>

#include "mesh/vec3.h"
#include "projection/projection.h"

namespace vyn {

/// Where a view sees places of the mesh, in pixels of its field.
class ViewGeometry {
  public:
    ViewGeometry(const ProjectedView& view, double mm_per_unit)
        : view_(view), mm_per_unit_(mm_per_unit) {
        const Eigen::Vector3d centre = view.pose.centre() / mm_per_unit;
        centre_ = {centre.x(), centre.y(), centre.z()};
        same_lens_ = view.camera.lens == view.field_lens;
    }

    /// The camera in the mesh's frame and unit.
    const Vec3& centre() const { return centre_; }

    /// Nothing behind the camera or where the lens does not see.
    std::optional<Point> pixel(const Vec3& place) const {
        const auto ideal = ideal_pixel(view_.camera, in_camera(place));
        if (!ideal || same_lens_) return ideal;
        const auto raw = raw_from_ideal(view_.camera.lens, *ideal);
        if (!raw) return std::nullopt;
        return ideal_position(view_.field_lens, *raw);
    }

    /// Standard deviation of a value with that gradient from the pose's covariance; 0 without one.
    double sigma(const Vec3& place, Point pixel, const std::array<double, 2>& gradient) const;

  private:
    Eigen::Vector3d in_camera(const Vec3& place) const {
        return view_.pose.in_camera(mm_per_unit_ * Eigen::Vector3d(place[0], place[1], place[2]));
    }

    const ProjectedView& view_;
    double mm_per_unit_;
    Vec3 centre_{};
    bool same_lens_ = true;
};

}  // namespace vyn
