#pragma once

#include <random>

#include "resect/resection.h"

namespace vyn::test {

/// A camera, markers on a body in front of it, and the dots that it sees, exactly.
struct ResectScene {
    PinholeCamera camera;
    Pose pose;
    std::vector<Marker> markers;
    std::vector<Marker> dots;

    ResectView view() const { return {"wind_off", camera, dots, {}}; }
};

inline Marker marker_at(int id, double x, double y, double z = 0) {
    return {.x = x, .y = y, .z = z, .id = id};
}

inline void see(ResectScene& scene) {
    scene.dots.clear();
    for (const Marker& marker : scene.markers) {
        const auto pixel =
            raw_pixel(scene.camera, scene.pose.in_camera({marker.x, marker.y, marker.z}));
        scene.dots.push_back(marker_at(marker.id, pixel->x, pixel->y));
    }
}

/// `count` markers in a box of 400 x 300 mm and that depth, 1.2 m from a camera of 35 mm.
inline ResectScene scene_of(int count, double depth, unsigned seed = 1) {
    ResectScene scene;
    scene.camera = {2400, 2395, {620, 500, 3e-8, 2e-14}, 1280, 1024};
    scene.pose.rotation = rotation_of({0.2, -0.35, 0.1});
    scene.pose.shift = {15, -20, 1200};
    std::mt19937 random(seed);
    const auto uniform = [&](double size) {
        return size * (double(random()) / double(std::mt19937::max()) - 0.5);
    };
    for (int i = 0; i < count; ++i) {
        const double x = uniform(400);
        const double y = uniform(300);
        scene.markers.push_back(marker_at(i + 1, x, y, uniform(depth)));
    }
    see(scene);
    return scene;
}

inline void add_noise(ResectScene& scene, double sigma, std::mt19937& random) {
    std::normal_distribution<double> noise(0, sigma);
    for (Marker& dot : scene.dots) {
        dot.x += noise(random);
        dot.y += noise(random);
    }
}

/// How far a pose is from the truth: radians, and the shift in parts of the distance.
inline double pose_error(const Pose& pose, const Pose& truth) {
    const double turn = vector_of(pose.rotation * truth.rotation.transpose()).norm();
    return std::max(turn, (pose.shift - truth.shift).norm() / truth.shift.norm());
}

}  // namespace vyn::test
