#pragma once

#include "resect/camera_model.h"
#include "sample/model_shape.h"
#include "sample/synthetic_camera.h"

namespace vyn {

/// How the model moves with the wind: bent, then turned about its middle and shifted; mm.
struct ModelMotion {
    Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
    Eigen::Vector3d shift = Eigen::Vector3d::Zero();
    double tip = 0;  ///< by which the wing's tips bend up

    Vec3 moved(const Vec3& place) const;
    /// The ray as the bent model sees it that stands where it stood.
    ModelRay seen_by_model(const ModelRay& ray) const;
};

/// A camera of the synthetic model: what it records and where it stands.
struct ModelCamera {
    SyntheticCamera recorder;
    PinholeCamera pinhole;
    Pose pose;

    /// The line of sight of a pixel of the picture without distortion.
    ModelRay ray(Point ideal) const;
    /// Where it shows a place; the place lies before it.
    Point ideal(const Vec3& place) const;
    Point raw(const Vec3& place) const;
    Vec3 centre() const;
    double mm_per_pixel() const;  ///< at the model's middle
};

/// Camera number `index` (0 or 1) of a point with these options, standing obliquely above.
ModelCamera model_camera(const SyntheticOptions& options, int index);

/// About two pixels of a size of `mm_per_pixel`: order 0 shifts the model, 1 turns it, too, and
/// from 2 on its wing bends.
ModelMotion model_motion(int order, double mm_per_pixel);

}  // namespace vyn
