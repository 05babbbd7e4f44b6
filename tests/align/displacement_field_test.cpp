#include "align/displacement_field.h"

#include <cmath>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "core/errors.h"

namespace vyn::test {
namespace {

constexpr int step = 7;
constexpr int ring = DisplacementField::ring;

/// Nodes of a smooth field on 12 x 9 nodes.
Point smooth(Point p) {
    return {60 + 0.05 * p.x + 0.5 * std::sin(p.x / 40 + p.y / 60), -0.03 * p.y + 1e-4 * p.x * p.y};
}

DisplacementField field_of(Point (*displacement)(Point), int apart = step) {
    Bitmap<double> u(12 + 2 * ring, 9 + 2 * ring);
    Bitmap<double> v(u.width(), u.height());
    for (int r = 0; r < u.height(); ++r)
        for (int c = 0; c < u.width(); ++c) {
            const Point d = displacement({double(c - ring) * apart, double(r - ring) * apart});
            u(c, r) = d.x;
            v(c, r) = d.y;
        }
    return DisplacementField(apart, u, v);
}

TEST(DisplacementField, PassesThroughItsNodesSmoothly) {
    const DisplacementField field = field_of(smooth);
    ASSERT_EQ(field.columns(), 12);
    ASSERT_EQ(field.rows(), 9);
    for (double y = 0; y <= 56; y += 3.5)
        for (double x = 0; x <= 77; x += 3.5) {
            const Point d = field.at({x, y});
            const Point truth = smooth({x, y});
            const bool on_node = std::fmod(x, step) == 0 && std::fmod(y, step) == 0;
            const double tolerance =
                on_node ? 1e-12 : 1e-4;  // nodes alone do not tell the curvature
            EXPECT_NEAR(d.x, truth.x, tolerance) << x << ' ' << y;
            EXPECT_NEAR(d.y, truth.y, tolerance) << x << ' ' << y;
            const DisplacementField::Gradient g = field.gradient({x, y});
            const double slope = 0.5 * std::cos(x / 40 + y / 60);
            EXPECT_NEAR(g.ux, 0.05 + slope / 40, 5e-5);
            EXPECT_NEAR(g.uy, slope / 60, 5e-5);
            EXPECT_NEAR(g.vx, 1e-4 * y, 1e-9);
            EXPECT_NEAR(g.vy, -0.03 + 1e-4 * x, 1e-9);
        }
}

/// The default step, whose whole spans go a way of their own, and others; the same bits on every
/// instruction set.
TEST(DisplacementField, RowsAgreeWithSinglePositionsInsideAndOutside) {
    constexpr std::size_t n = 140;
    for (const int each_step : {step, 8, 3, 20}) {
        const DisplacementField field = field_of(smooth, each_step);
        for (const int x0 : {-61, -30, -3, 0, 5})
            for (const int y : {-40, -1, 0, 13, 62, 200}) {
                std::vector<double> base;
                for (const char* isa : {"base", "avx2", "avx512"}) {
                    setenv("VYNLITE_ISA", isa, 1);
                    std::vector<double> xs(n);
                    std::vector<double> ys(n);
                    field.row_map()(x0, static_cast<int>(n), y, xs.data(), ys.data());
                    unsetenv("VYNLITE_ISA");
                    if (base.empty()) base = xs;
                    ASSERT_EQ(xs, base) << isa << ' ' << x0 << ' ' << y;
                    for (std::size_t i = 0; i < n; ++i) {
                        double x = x0 + static_cast<int>(i);
                        double row = y;
                        field.displace(&x, &row, 1);
                        ASSERT_NEAR(xs[i], x, 1e-12) << each_step << ' ' << x0 << ' ' << i;
                        ASSERT_NEAR(ys[i], row, 1e-12) << each_step << ' ' << y << ' ' << i;
                    }
                }
            }
    }
    const DisplacementField field = field_of(smooth);
    const Point on_ring = field.at({-14, -14});
    EXPECT_EQ(field.at({-1e9, -1e300}), on_ring);
}

TEST(DisplacementField, RefusesPlanesThatDoNotFit) {
    EXPECT_THROW(DisplacementField(8, Bitmap<double>(6, 6, 0.0), Bitmap<double>(6, 7, 0.0)),
                 DimError);
    EXPECT_THROW(DisplacementField(8, Bitmap<double>(4, 6, 0.0), Bitmap<double>(4, 6, 0.0)),
                 DimError);
    EXPECT_THROW(DisplacementField(0, Bitmap<double>(6, 6, 0.0), Bitmap<double>(6, 6, 0.0)),
                 AlgoError);
}

}  // namespace
}  // namespace vyn::test
