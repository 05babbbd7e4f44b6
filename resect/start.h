#pragma once

#include <array>
#include <vector>

#include "resect/camera_model.h"
#include "resect/dot_pair.h"

namespace vyn {

/// Starts of a pose with the camera's intrinsics as they are. Each gives the poses found, none
/// where the pairs are too few or degenerate; none has a marker behind the camera.

/// Direct linear transformation (Abdel-Aziz and Karara 1971) with the intrinsics taken out and
/// Hartley's normalisation (1997): six pairs or more, not in a plane.
std::vector<Pose> direct_linear_poses(const PinholeCamera& camera,
                                      const std::vector<DotPair>& pairs);
/// From the homography of a plane, and its mirror about the line of sight: four pairs or more.
std::vector<Pose> plane_poses(const PinholeCamera& camera, const std::vector<DotPair>& pairs);
/// Two stages (Tsai 1987): rotation from the directions of the dots about the image centre, which
/// neither focus nor distortion changes, then the distance: seven pairs or more, not in a plane.
std::vector<Pose> two_stage_poses(const PinholeCamera& camera, const std::vector<DotPair>& pairs);
/// The up to four poses of three pairs (Grunert 1841 as given by Haralick et al. 1994); `rays` are
/// unit vectors in the camera frame.
std::vector<Pose> three_point_poses(const std::array<Eigen::Vector3d, 3>& places,
                                    const std::array<Eigen::Vector3d, 3>& rays);

/// The other pose of a plane: its in-plane directions mirrored about the line of sight.
Pose mirrored_pose(const Pose& pose, const Spread& spread);

/// The direction in which a raw pixel sees, as a unit vector in the camera frame.
Eigen::Vector3d ray_of(const PinholeCamera& camera, Point raw);

}  // namespace vyn
