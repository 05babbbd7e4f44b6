#pragma once

#include <optional>

#include <Eigen/Core>

#include "api/lens.h"
#include "api/point.h"

namespace vyn {

/// Where a camera stands. Camera frame: x right (columns), y down (rows), z forward; Xc = R X + t.
struct Pose {
    Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
    Eigen::Vector3d shift = Eigen::Vector3d::Zero();

    Eigen::Vector3d in_camera(const Eigen::Vector3d& model) const {
        return rotation * model + shift;
    }
    /// The camera's centre in the model frame.
    Eigen::Vector3d centre() const { return -(rotation.transpose() * shift); }
};

/// A pinhole camera with the division-model lens of api/lens.h (Tsai's parameters, 1987). Focal
/// lengths in pixels: fx = focus / (dx ncx / nfx).
struct PinholeCamera {
    double fx = 0;
    double fy = 0;
    Distortion lens;
    int width = 0;
    int height = 0;
};

/// Raw pixel of an ideal one by Newton's method on the radius, to 1e-12 of it. Nothing where the
/// lens does not see the point: beyond the fold, where the ideal radius stops growing with the raw
/// one.
std::optional<Point> raw_from_ideal(const Distortion& lens, Point ideal);

/// Ideal pixel of a point in the camera frame; nothing at or behind the camera.
std::optional<Point> ideal_pixel(const PinholeCamera& camera, const Eigen::Vector3d& in_camera);
/// Raw pixel; nothing behind the camera or where the lens does not see it.
std::optional<Point> raw_pixel(const PinholeCamera& camera, const Eigen::Vector3d& in_camera);

/// The intrinsics that an adjustment can free, in the order of the derivatives.
enum class Intrinsic { focus, cx, cy, a2, a4 };
inline constexpr int intrinsic_count = 5;

/// A raw pixel with its derivatives.
struct RawProjection {
    Point pixel;
    Eigen::Matrix<double, 2, 3> by_place;  ///< by the point in the camera frame
    /// By focus (as a factor of both focal lengths), cx, cy, a2, a4.
    Eigen::Matrix<double, 2, intrinsic_count> by_intrinsic;
};
std::optional<RawProjection> raw_projection(const PinholeCamera& camera,
                                            const Eigen::Vector3d& in_camera);

/// Rotation by the vector's length about its direction (Rodrigues).
Eigen::Matrix3d rotation_of(const Eigen::Vector3d& vector);
/// Its inverse.
Eigen::Vector3d vector_of(const Eigen::Matrix3d& rotation);
/// The rotation nearest to a matrix.
Eigen::Matrix3d nearest_rotation(const Eigen::Matrix3d& matrix);

}  // namespace vyn
