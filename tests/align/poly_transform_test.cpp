#include "align/poly_transform.h"

#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "tests/support/error_of.h"

namespace vyn {
namespace {

/// A mapping of a 4000-pixel image that bends it by some hundred pixels.
PolyTransform bent(int n) {
    PolyTransform map;
    map.n = n;
    const double ax[] = {12.5, 1.01, -0.02, 1e-6, 3e-6, -2e-6, 4e-10, -5e-10, 6e-10, 7e-10};
    const double ay[] = {-7.25, 0.015, 0.99, -2e-6, 1e-6, 4e-6, -3e-10, 2e-10, 5e-10, -6e-10};
    std::copy_n(ax, n, map.ax.begin());
    std::copy_n(ay, n, map.ay.begin());
    return map;
}

/// Sum of the terms one by one, in extended precision.
double direct_sum(const std::array<double, 10>& c, long double x, long double y) {
    return static_cast<double>(c[0] + c[1] * x + c[2] * y + c[3] * x * y + c[4] * x * x +
                               c[5] * y * y + c[6] * x * x * y + c[7] * x * y * y +
                               c[8] * x * x * x + c[9] * y * y * y);
}

double distance(const Point& a, const Point& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

std::vector<Point> scattered(int count, double left, double top, double size) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> offset(0, size);
    std::vector<Point> points;
    for (int i = 0; i < count; ++i)
        points.push_back({left + offset(random), top + offset(random)});
    return points;
}

std::vector<Point> mapped(const PolyTransform& map, const std::vector<Point>& points) {
    std::vector<Point> result;
    for (const Point& p : points)
        result.push_back(apply_poly(map, p));
    return result;
}

const std::vector<Point> corners{{0, 0}, {3999, 0}, {0, 3999}, {3999, 3999}, {2000, 1000}};

class PolyOrders : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Counts, PolyOrders, testing::Values(3, 6, 10));

TEST_P(PolyOrders, NestedFormIsTheSumOfTheTermsAndTheRowsHaveItsBits) {
    const PolyTransform map = bent(GetParam());
    for (const Point& p : corners) {
        const Point nested = apply_poly(map, p);
        EXPECT_NEAR(nested.x, direct_sum(map.ax, p.x, p.y), 1e-11);
        EXPECT_NEAR(nested.y, direct_sum(map.ay, p.x, p.y), 1e-11);
    }
    std::array<double, 37> x{};
    std::array<double, 37> y{};
    row_map(map)(1234, 37, 2345, x.data(), y.data());
    for (std::size_t i = 0; i < x.size(); ++i)
        EXPECT_EQ((Point{x[i], y[i]}), apply_poly(map, {1234.0 + static_cast<double>(i), 2345}));
}

/// Many points over the image, just enough points, and points far from the origin, where plain
/// pixel coordinates would give a cubic fit a condition number of 1e20 and no digit would be left.
TEST_P(PolyOrders, FitRecoversAKnownPolynomial) {
    const int n = GetParam();
    auto whole_image = scattered(40, 0, 0, 3999);
    whole_image.insert(whole_image.end(), corners.begin(), corners.end());
    for (const auto& points :
         {whole_image, scattered(n, 3000, 500, 900), scattered(60, 3500, 3500, 100)}) {
        const PolyFit fit = fit_poly(points, mapped(bent(n), points), n);
        EXPECT_TRUE(fit.ok && !fit.underdetermined && fit.map.n == n);
        for (const Point& p : points)
            EXPECT_LT(distance(apply_poly(fit.map, p), apply_poly(bent(n), p)), 1e-9);
    }
}

/// Points that do not determine the mapping: the answer passes through them and moves the rest as
/// little as it can.
TEST_P(PolyOrders, UnderdeterminedFitsGiveTheLeastCorrection) {
    const int n = GetParam();
    const auto few = scattered((n + 1) / 2, 1000, 2000, 800);
    std::vector<Point> shifted;
    for (const Point& p : few)
        shifted.push_back({p.x + 5, p.y - 3});
    std::vector<Point> line;
    std::vector<Point> stretched;
    for (int i = 0; i < 20; ++i) {
        line.push_back({200 + 170.0 * i, 300 + 170.0 * i / 3});
        stretched.push_back({line.back().x * 1.001 - 1.815, line.back().y});
    }
    const std::vector<Point> one_place(4, Point{700, 800});
    const std::vector<Point> moved_place(4, Point{705, 797});
    for (const auto& [from, to] :
         {std::pair{few, shifted}, {line, stretched}, {one_place, moved_place}}) {
        const PolyFit fit = fit_poly(from, to, n);
        EXPECT_TRUE(fit.ok && fit.underdetermined);
        for (std::size_t i = 0; i < from.size(); ++i)
            EXPECT_LT(distance(apply_poly(fit.map, from[i]), to[i]), 1e-8);
    }
    const Point among_few = apply_poly(fit_poly(few, shifted, n).map, {1400, 2400});
    EXPECT_LT(distance(among_few, {1400, 2400}), std::hypot(5, 3) * 1.001);
    // The middle of the line stands still, and so does the perpendicular through it.
    const Point beside =
        apply_poly(fit_poly(line, stretched, n).map, {2115, 300 + 1615 / 3.0 - 900});
    EXPECT_NEAR(beside.x, 2115, 1e-6);
}

TEST(PolyFit, ShiftIsTheMeanAndNoCoefficientTheIdentity) {
    const PolyFit shift =
        fit_poly(std::vector<Point>{{0, 0}, {100, 50}}, std::vector<Point>{{2, -1}, {104, 47}}, 1);
    EXPECT_TRUE(shift.ok);
    EXPECT_EQ(apply_poly(shift.map, {10, 10}), (Point{13, 8}));
    const PolyFit identity = fit_poly({}, {}, 0);
    EXPECT_TRUE(identity.ok && identity.map.ax[1] == 1 && identity.map.ay[2] == 1);
    EXPECT_EQ(apply_poly(identity.map, {10.5, -3}), (Point{10.5, -3}));
}

TEST(PolyFit, NothingOrNonFiniteIsNoSuccess) {
    for (const int n : {1, 3, 6, 10}) {
        EXPECT_FALSE(fit_poly({}, {}, n).ok);
        for (const double bad : {std::nan(""), HUGE_VAL}) {
            auto from = scattered(20, 0, 0, 100);
            const auto to = from;
            from[3].y = bad;
            EXPECT_FALSE(fit_poly(from, to, n).ok);
            EXPECT_FALSE(fit_poly(to, from, n).ok);
        }
    }
}

TEST(PolyErrors, CarryUnitAndLine) {
    const auto line_of = [](const auto& operation) {
        const auto error = test::error_of<AlgoError>(operation);
        EXPECT_STREQ(error.text, "Algorithm error!");
        EXPECT_STREQ(error.file, "match");
        return error.line;
    };
    const PolyTransform map;
    const std::vector<Point> points(3);
    for (const int n : {-1, 2, 4, 11}) {
        EXPECT_EQ(line_of([&] { apply_poly(0, 0, n, map.ax, map.ay); }), 116);
        EXPECT_EQ(line_of([&] { fit_poly(points, points, n); }), 34);
    }
    for (const auto& [order, count] : {std::pair{-1, 0}, {0, 1}, {1, 3}, {2, 6}, {3, 10}, {4, 0}})
        EXPECT_EQ(poly_coefficient_count(order), count);
}

}  // namespace
}  // namespace vyn
