#include "api/lens.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "tests/api/pictures.h"

namespace vyn {
namespace {

// With a4 = 0 the fixed point solves a2 q d^2 - d + 1 = 0 with q = r^2.
TEST(DistortedPosition, EqualsTheClosedForm) {
    const Distortion lens{500, 400, 3e-8, 0};
    for (const Point ideal : {Point{0, 0}, {1000, 800}, {501, 400}, {130.5, 777.25}}) {
        const double dx = ideal.x - lens.cx;
        const double dy = ideal.y - lens.cy;
        const double d = 2 / (1 + std::sqrt(1 - 4 * lens.a2 * (dx * dx + dy * dy)));
        const Point camera = distorted_position(lens, ideal);
        // the last step is below 1e-6 and each one shrinks the error some tenfold
        EXPECT_NEAR(camera.x, lens.cx + d * dx, 2e-7 * std::abs(dx));
        EXPECT_NEAR(camera.y, lens.cy + d * dy, 2e-7 * std::abs(dy));
    }
}

TEST(DistortedPosition, IsUndoneByIdealPosition) {
    const Distortion lens{511.7, 380.2, 2e-7, -1e-13};
    for (int i = 0; i <= 11; ++i)
        for (int j = 0; j <= 9; ++j) {
            const Point ideal{93.1 * i, 85.3 * j};
            const Point back = ideal_position(lens, distorted_position(lens, ideal));
            EXPECT_NEAR(back.x, ideal.x, 1e-3);  // 1e-6 of at most 640 pixels
            EXPECT_NEAR(back.y, ideal.y, 1e-3);
        }
}

TEST(DistortedPosition, SamplesTheCentreAtItselfAndEndsWhereItDiverges) {
    const Distortion lens{10, 7, INFINITY, 1};
    EXPECT_EQ(distorted_position(lens, {10, 7}), (Point{10, 7}));
    const Point nowhere = distorted_position({10, 7, 1e3, 1e3}, {400, 300});
    EXPECT_FALSE(std::isfinite(nowhere.x));
}

TEST(IdealPosition, OmitsTheCentreWhereTheModelVanishes) {
    const Distortion lens{10, 20, -0.04, 0};  // 1 + a2 r^2 = 0 at r = 5
    EXPECT_EQ(ideal_position(lens, {13, 24}), (Point{3, 4}));
    EXPECT_EQ(ideal_position(lens, {10, 20}), (Point{10, 20}));
}

/// Every instruction set, whole and partial groups of lanes: the exact position as far as the
/// polynomial reaches (beyond number 20 of each lens), the iterated one beyond.
TEST(DistortedRows, FollowThePointFunctions) {
    for (const Distortion& lens : {Distortion{40.25, 31.5, 1.2e-5, -2e-11},
                                   Distortion{40.25, 31.5, -9e-6, 3e-10}, Distortion{40, 30, 0, 0}})
        for (const char* isa : test::isa_names) {
            const test::UsingIsa using_isa(isa);
            const DistortedRows distorted(lens);
            for (const int n : {0, 1, 2, 15, 16, 17, 64, 67}) {
                std::vector<double> x;
                std::vector<double> y;
                for (int i = 0; i < n; ++i) {
                    x.push_back(40.25 + 2.3 * i);
                    y.push_back(31.5 - 1.7 * i);
                }
                std::vector<double> camera_x = x;
                std::vector<double> camera_y = y;
                camera_x.push_back(-1);  // behind the end
                distorted(n, camera_x.data(), camera_y.data());
                for (std::size_t i = 0; i < x.size(); ++i) {
                    const Point iterated = distorted_position(lens, {x[i], y[i]});
                    const Point exact = exact_camera_position(lens, {x[i], y[i]});
                    const double tolerance =
                        std::hypot(iterated.x - exact.x, iterated.y - exact.y) + 1e-6;
                    EXPECT_NEAR(camera_x[i], exact.x, tolerance) << isa << ' ' << i;
                    EXPECT_NEAR(camera_y[i], exact.y, tolerance) << isa << ' ' << i;
                    if (i < 20) {
                        EXPECT_NEAR(camera_x[i], exact.x, 1e-6) << isa << ' ' << i;
                        EXPECT_NEAR(camera_y[i], exact.y, 1e-6) << isa << ' ' << i;
                    }
                }
                EXPECT_EQ(camera_x.back(), -1);
            }
        }
}

TEST(DistortedRows, StandLensesWithoutMeasure) {
    for (const double a2 : {1e-300, -1e-40, 1e100, -1e300, 1e5}) {
        const Distortion lens{10, 7, a2, 0};
        double x[] = {10, 12};
        double y[] = {7, 9};
        DistortedRows{lens}(2, x, y);
        EXPECT_EQ(x[0], 10) << a2;
        EXPECT_EQ(y[0], 7) << a2;
        const Point iterated = distorted_position(lens, {12, 9});
        EXPECT_EQ(std::isfinite(x[1]), std::isfinite(iterated.x)) << a2;
        if (std::isfinite(iterated.x)) {
            EXPECT_NEAR(x[1], iterated.x, 1e-6) << a2;
        }
    }
}

/// Against differences of the exact position, on both sides of the centre and on it; pincushion and
/// barrel, strong enough that all four parts count.
TEST(ExactCameraPosition, IsUndoneAndItsDerivativeIsThatOfTheMap) {
    for (const Distortion& lens :
         {Distortion{310.5, 205.25, 4e-7, -1e-13}, Distortion{300, 200, -5e-7, 8e-13}})
        for (const Point ideal : {Point{12, 30}, {300, 200}, {430.5, 377.25}, {600, 10}}) {
            const Point camera = exact_camera_position(lens, ideal);
            const Point back = ideal_position(lens, camera);
            EXPECT_NEAR(back.x, ideal.x, 1e-9);
            EXPECT_NEAR(back.y, ideal.y, 1e-9);
            constexpr double h = 0.01;
            const auto seen = [&](double dx, double dy) {
                return exact_camera_position(lens, {ideal.x + dx, ideal.y + dy});
            };
            const Jacobian derivative = distortion_derivative(lens, ideal);
            EXPECT_NEAR(derivative.xx, (seen(h, 0).x - seen(-h, 0).x) / (2 * h), 2e-7);
            EXPECT_NEAR(derivative.xy, (seen(0, h).x - seen(0, -h).x) / (2 * h), 2e-7);
            EXPECT_NEAR(derivative.yx, (seen(h, 0).y - seen(-h, 0).y) / (2 * h), 2e-7);
            EXPECT_NEAR(derivative.yy, (seen(0, h).y - seen(0, -h).y) / (2 * h), 2e-7);
        }
}

}  // namespace
}  // namespace vyn
