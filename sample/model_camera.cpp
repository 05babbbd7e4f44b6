#include "sample/model_camera.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include <Eigen/Geometry>

#include "core/numbers.h"
#include "sample/synthetic_point.h"

namespace vyn {

namespace {

constexpr double distance = 1800;  // mm
/// Focal length in picture widths: the span fills the picture but for a margin.
constexpr double focus_per_width = 2.1;
constexpr double widest_shape = 4.0 / 3;  // a flatter picture is filled by its height

/// From upstream towards starboard, and upward, in degrees; the place aimed at is on y = aim.
struct Station {
    double azimuth;
    double elevation;
    double aim;
};
constexpr std::array<Station, 2> stations{{{38, 46, 69}, {-52, 49, -55}}};

Eigen::Vector3d vector(const Vec3& v) {
    return {v[0], v[1], v[2]};
}

Vec3 vector(const Eigen::Vector3d& v) {
    return {v.x(), v.y(), v.z()};
}

Pose pose_at(const Station& station) {
    const double degree = std::numbers::pi / 180;
    const double a = station.azimuth * degree;
    const double e = station.elevation * degree;
    const Eigen::Vector3d forward(std::cos(e) * std::cos(a), -std::cos(e) * std::sin(a),
                                  -std::sin(e));
    const Eigen::Vector3d right = forward.cross(Eigen::Vector3d::UnitZ()).normalized();
    Pose pose;
    pose.rotation << right.transpose(), forward.cross(right).transpose(), forward.transpose();
    const Eigen::Vector3d aim =
        vector(model_shape::middle) + station.aim * Eigen::Vector3d::UnitY();
    pose.shift = -(pose.rotation * (aim - distance * forward));
    return pose;
}

}  // namespace

Vec3 ModelMotion::moved(const Vec3& place) const {
    const Eigen::Vector3d middle = vector(model_shape::middle);
    Eigen::Vector3d bent = vector(place);
    bent.z() += model_shape::bending(place[1], tip);
    return vector(Eigen::Vector3d(rotation * (bent - middle) + middle + shift));
}

ModelRay ModelMotion::seen_by_model(const ModelRay& ray) const {
    const Eigen::Vector3d middle = vector(model_shape::middle);
    const Eigen::Matrix3d back = rotation.transpose();
    return {vector(Eigen::Vector3d(back * (vector(ray.origin) - middle - shift) + middle)),
            vector(Eigen::Vector3d(back * vector(ray.direction)))};
}

ModelRay ModelCamera::ray(Point ideal) const {
    const Eigen::Vector3d in_camera((ideal.x - pinhole.lens.cx) / pinhole.fx,
                                    (ideal.y - pinhole.lens.cy) / pinhole.fy, 1);
    return {centre(), vector(Eigen::Vector3d(pose.rotation.transpose() * in_camera.normalized()))};
}

Point ModelCamera::ideal(const Vec3& place) const {
    return ideal_pixel(pinhole, pose.in_camera(vector(place))).value();
}

Point ModelCamera::raw(const Vec3& place) const {
    return raw_pixel(pinhole, pose.in_camera(vector(place))).value();
}

Vec3 ModelCamera::centre() const {
    return vector(pose.centre());
}

double ModelCamera::mm_per_pixel() const {
    return distance / pinhole.fx;
}

ModelCamera model_camera(const SyntheticOptions& options, int index) {
    ModelCamera camera;
    camera.recorder = signal_camera(options);
    if (index > 0) camera.recorder.role = SyntheticCamera::Role::second_view;
    const double width = std::min<double>(options.width, widest_shape * options.height);
    // Three digits, which the camera file keeps.
    camera.recorder.focus =
        parse_double(format_general(focus_per_width * width * SyntheticCamera::pixel_spacing, 3))
            .value_or(0);
    camera.pinhole.fx = camera.pinhole.fy = camera.recorder.focus / SyntheticCamera::pixel_spacing;
    camera.pinhole.lens = camera.recorder.lens;
    camera.pinhole.width = options.width;
    camera.pinhole.height = options.height;
    camera.pose = pose_at(stations[static_cast<std::size_t>(index)]);
    return camera;
}

ModelMotion model_motion(int order, double mm_per_pixel) {
    ModelMotion motion;
    motion.shift = mm_per_pixel * Eigen::Vector3d(1.3, -0.9, 0.7);
    if (order >= 1)
        motion.rotation =
            rotation_of(mm_per_pixel / model_shape::half_span * Eigen::Vector3d(0.5, -0.6, 0.7));
    if (order >= 2) motion.tip = 0.8 * mm_per_pixel;
    return motion;
}

}  // namespace vyn
