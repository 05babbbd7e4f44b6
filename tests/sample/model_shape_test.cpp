#include "sample/model_shape.h"

#include <cmath>

#include <gtest/gtest.h>

#include "sample/model_camera.h"
#include "sample/synthetic_point.h"

namespace vyn::test {
namespace {

/// Below 0 inside of the bent model, written out once more from its shape.
double outside(const Vec3& p, double tip) {
    const double body = std::hypot(p[1], p[2]) - model_shape::body_radius_at(p[0]);
    const double along = (p[0] - model_shape::leading_edge(p[1])) / model_shape::chord(p[1]);
    const bool planform = std::abs(p[1]) < model_shape::half_span && along > 0 && along < 1;
    if (!planform) return body;
    const double height = std::abs(p[2] - model_shape::bending(p[1], tip));
    return std::min(body, height - model_shape::chord(p[1]) * model_shape::half_thickness(along));
}

/// The first crossing of a march in steps of 0.1 mm, against the rays of a camera's picture.
TEST(ModelShape, IsHitWhereASlowMarchEntersIt) {
    constexpr double step = 0.1;
    SyntheticOptions options;
    for (const int index : {0, 1})
        for (const double tip : {0.0, 3.0}) {
            const ModelCamera camera = model_camera(options, index);
            int hits = 0;
            for (int y = 3; y < options.height; y += 23)
                for (int x = 5; x < options.width; x += 29) {
                    const ModelRay ray = camera.ray({x + 0.3, y + 0.6});
                    // All of the model is within 60 mm of its middle plane.
                    double t = (60 - ray.origin[2]) / ray.direction[2];
                    const double last = (-60 - ray.origin[2]) / ray.direction[2];
                    while (t < last && outside(ray.at(t), tip) > 0)
                        t += step;
                    const auto hit = model_shape::nearest_hit(ray, tip);
                    ASSERT_EQ(hit.has_value(), t < last) << x << " " << y;
                    if (!hit) continue;
                    ++hits;
                    EXPECT_GE(hit->distance, t - step - 1e-6) << x << " " << y;
                    EXPECT_LE(hit->distance, t + 1e-6) << x << " " << y;
                    EXPECT_NEAR(outside(ray.at(hit->distance), tip), 0, 1e-7);
                    const Vec3 normal = model_shape::normal_at(hit->place);
                    EXPECT_NEAR(length(normal), 1, 1e-12);
                    EXPECT_LT(dot(normal, ray.direction), 0.05) << "turned to the camera";
                }
            EXPECT_GT(hits, 80);
        }
}

TEST(ModelShape, MovesForthAndBack) {
    const ModelMotion motion = model_motion(2, 1.5);
    EXPECT_GT(motion.tip, 0);
    SyntheticOptions options;
    const ModelCamera camera = model_camera(options, 0);
    for (const double y : {-400.0, -70.0, 90.0, 470.0}) {
        const Vec3 place = model_shape::wing_place(0.4, y, SurfacePlace::Part::upper);
        const Vec3 moved = motion.moved(place);
        const Vec3 sight = moved - camera.centre();
        const auto hit = model_shape::nearest_hit(
            motion.seen_by_model({camera.centre(), (1 / length(sight)) * sight}), motion.tip);
        ASSERT_TRUE(hit);
        EXPECT_LT(length(hit->place.place - place), 1e-7);
        EXPECT_NEAR(hit->place.chordwise, 0.4, 1e-9);
        EXPECT_GT(length(moved - place), 1);
    }
}

}  // namespace
}  // namespace vyn::test
