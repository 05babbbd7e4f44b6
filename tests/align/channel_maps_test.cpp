#include "align/channel_maps.h"

#include <cmath>

#include <gtest/gtest.h>

#include "align/image_map.h"

namespace vyn::test {
namespace {

PolyTransform affine(double x, double y, double scale, double angle) {
    PolyTransform map;
    map.n = 3;
    map.ax = {x, scale * std::cos(angle), -scale * std::sin(angle)};
    map.ay = {y, scale * std::sin(angle), scale * std::cos(angle)};
    return map;
}

PolyTransform bent() {
    PolyTransform map;
    map.n = 6;
    map.ax = {2.5, 1.001, 0.002, 1e-5, -2e-5, 1e-5};
    map.ay = {-1.5, -0.001, 0.999, 2e-5, 1e-5, -1e-5};
    return map;
}

std::vector<Point> grid() {
    std::vector<Point> points;
    for (double y = 20; y < 400; y += 60)
        for (double x = 15; x < 600; x += 70)
            points.push_back({x, y});
    return points;
}

/// The reference camera sees the signal camera's motion through the mapping between them, so all
/// ways meet; a known error of one mapping shows as itself.
TEST(ChannelMaps, WaysRoundMeetUnlessAMappingIsWrong) {
    const PolyTransform motion = affine(3, -2, 1.002, 0.004);
    const PolyTransform cameras = affine(11, 7, 0.8, 0.05);
    std::vector<Point> from;
    std::vector<Point> to;
    for (const Point& p : grid()) {
        from.push_back(apply_poly(cameras, p));
        to.push_back(apply_poly(cameras, apply_poly(motion, p)));
    }
    ChannelMaps maps{motion, fit_poly(from, to, 3).map, cameras};
    const MapConsistency good = consistency_of(maps, grid());
    EXPECT_EQ(good.points, static_cast<int>(grid().size()));
    EXPECT_LT(good.max, 1e-9);

    maps.reference_on_from_off.ax[0] += 0.4;  // pixels of the reference camera
    const MapConsistency bad = consistency_of(maps, grid());
    EXPECT_NEAR(bad.rms, 0.4 / 0.8, 0.01);
    EXPECT_NEAR(bad.max, 0.4 / 0.8, 0.01);
    EXPECT_EQ(consistency_of(maps, {}).points, 0);
}

/// Rows of every length, so that whole and partial groups of lanes occur.
TEST(ChannelMaps, CameraPositionsAreThoseOfTheStepsOneByOne) {
    const Distortion lens{310.5, 205.25, 2e-7, -1e-13};
    const std::vector<PolyTransform> ways[] = {
        {}, {bent()}, {affine(4, 5, 0.9, 0.02), bent()}, {PolyTransform{}, bent(), bent()}};
    for (const auto& maps : ways)
        for (const Distortion& camera : {lens, Distortion{}}) {
            ImageMap way;
            for (const PolyTransform& map : maps)
                way.then(map);
            const RowMap row = way.then(camera).rows();
            for (const int n : {1, 3, 31, 32, 33, 256}) {
                std::vector<double> x(static_cast<std::size_t>(n));
                std::vector<double> y(x.size());
                row(17, n, 93, x.data(), y.data());
                for (int i = 0; i < n; ++i) {
                    Point p{17.0 + i, 93};
                    for (const PolyTransform& map : maps)
                        p = apply_poly(map, p);
                    const Point seen = exact_camera_position(camera, p);
                    const double tolerance = camera.none() ? 1e-10 : 1e-5;
                    EXPECT_NEAR(x[static_cast<std::size_t>(i)], seen.x, tolerance) << i;
                    EXPECT_NEAR(y[static_cast<std::size_t>(i)], seen.y, tolerance) << i;
                    if (!camera.none()) p = distorted_position(camera, p);
                    EXPECT_EQ(way.at({17.0 + i, 93}), p);
                }
            }
        }
}

TEST(ImageMap, InverseAndDerivativeBelongToTheMap) {
    Bitmap<double> u(104, 84, 0.0);
    Bitmap<double> v(104, 84, 0.0);
    for (int r = 0; r < u.height(); ++r)
        for (int c = 0; c < u.width(); ++c) {
            u(c, r) = 1.5 * std::sin(0.2 * c + 0.1 * r);
            v(c, r) = std::cos(0.15 * c - 0.1 * r);
        }
    ImageMap way;
    way.then(affine(4, 5, 0.9, 0.02))
        .then(std::make_shared<const DisplacementField>(8, u, v))
        .then(bent())
        .then(Distortion{310.5, 205.25, 2e-7, -1e-13});
    const double h = 1e-3;
    for (const Point& p : grid()) {
        const auto back = way.inverse(way.at(p));
        ASSERT_TRUE(back);
        // the forward iteration of the lens stops at 1e-6 of the radius
        EXPECT_NEAR(back->x, p.x, 1e-3);
        EXPECT_NEAR(back->y, p.y, 1e-3);
        const Jacobian local = way.derivative(p);
        const Point right = way.at({p.x + h, p.y});
        const Point left = way.at({p.x - h, p.y});
        const Point below = way.at({p.x, p.y + h});
        const Point above = way.at({p.x, p.y - h});
        EXPECT_NEAR(local.xx, (right.x - left.x) / (2 * h), 1e-4);
        EXPECT_NEAR(local.yx, (right.y - left.y) / (2 * h), 1e-4);
        EXPECT_NEAR(local.xy, (below.x - above.x) / (2 * h), 1e-4);
        EXPECT_NEAR(local.yy, (below.y - above.y) / (2 * h), 1e-4);
    }
}

TEST(ChannelMaps, InverseGivesThePointBack) {
    for (const PolyTransform& map : {bent(), affine(40, -30, 0.7, 0.3), PolyTransform{}})
        for (const Point& p : grid()) {
            const Point back = inverse_mapped(map, apply_poly(map, p));
            EXPECT_NEAR(back.x, p.x, 1e-9);
            EXPECT_NEAR(back.y, p.y, 1e-9);
        }
}

}  // namespace
}  // namespace vyn::test
