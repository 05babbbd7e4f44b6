#include "calib/port_selection.h"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vyn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

PortSamples ports() {
    return {{{0.70, 67800, 1},
             {0.76, 74500, 2},
             {0.82, 81100, 3},
             {0.90, 92600, 4},
             {1.00, 99200, 5},
             {1.10, 108400, 6}},
            {}};
}

PortSelection selection_of(const PortSamples& samples, int terms) {
    const InSituOptions options{.terms = terms, .side = 5, .pressure_unit = "Pa"};
    return {calibrate_samples(samples, options).calibration.value(), options};
}

TEST(PortSelection, WithoutAPortTheFitIsThatOfTheOthersAndBackAgain) {
    PortSelection selection = selection_of(ports(), 3);
    const InSituFit all = selection.calibration().fit;
    PortSamples others = ports();
    others.points.erase(others.points.begin() + 3);
    const InSituFit without = fit_in_situ(others.points, 3).value();

    EXPECT_EQ(selection.leave_one_out(3), all.leave_one_out[3]);
    EXPECT_EQ(selection.toggle(3), "");
    EXPECT_FALSE(selection.is_used(3));
    EXPECT_EQ(selection.calibration().fit.coefficients, without.coefficients);
    EXPECT_EQ(selection.calibration().fit.deviation, without.deviation);
    EXPECT_EQ(selection.calibration().paint.gamma[1][0], without.coefficients[1]);
    EXPECT_THAT(selection.calibration().samples.left_out,
                ElementsAre("port 4: taken out of the fit by hand"));
    // What the law of the others says of it is what leaving it out had promised.
    EXPECT_NEAR(selection.residual(3), all.leave_one_out[3], 1e-3);
    EXPECT_EQ(selection.leave_one_out(4), without.leave_one_out[3]);

    EXPECT_EQ(selection.toggle(3), "");
    EXPECT_EQ(selection.calibration().fit.coefficients, all.coefficients);
    EXPECT_TRUE(selection.calibration().samples.left_out.empty());
}

TEST(PortSelection, TheLastPortsStay) {
    PortSelection selection = selection_of({{{1, 2, 7}, {1, 3, 8}, {2, 4, 9}}, {}}, 2);
    EXPECT_THAT(selection.toggle(2), HasSubstr("Can't calculate calibration!"));
    EXPECT_TRUE(selection.is_used(2));
    EXPECT_EQ(selection.calibration().samples.points.size(), 3U);
    // With fewer ports the law loses terms, and regains them.
    EXPECT_EQ(selection.toggle(0), "");
    EXPECT_EQ(selection.toggle(1), "");
    EXPECT_EQ(selection.calibration().fit.terms, 1);
    EXPECT_THAT(selection.toggle(2), HasSubstr("No data points"));
    EXPECT_EQ(selection.toggle(1), "");
    EXPECT_EQ(selection.calibration().fit.terms, 2);
}

TEST(FittedCurve, HasAHundredStepsFromTheSmallestToTheLargestRatio) {
    const auto curve = fitted_curve(ports().points, {1, 2, 3});
    ASSERT_TRUE(curve);
    ASSERT_EQ(curve->ratios.size(), 101U);
    EXPECT_EQ(curve->ratios.front(), 0.70);
    EXPECT_NEAR(curve->ratios.back(), 1.10, 1e-15);
    EXPECT_NEAR(curve->ratios[50], 0.90, 1e-15);
    EXPECT_NEAR(curve->pressures[50], 1 + 2 * 0.9 + 3 * 0.81, 1e-12);
    EXPECT_FALSE(fitted_curve({}, {1, 0, 0}));
    EXPECT_FALSE(fitted_curve({{1, 2, 3}, {1, 4, 5}}, {1, 0, 0}));
    EXPECT_FALSE(fitted_curve(ports().points, {NAN, 0, 0}));
}

TEST(StandardError, OfALineByHand) {
    // Three equally spaced points: variance s^2 (1/3 + (x - 2)^2 / 2), s^2 the sum of squares over
    // the one degree of freedom: residuals 1/3, -2/3, 1/3.
    const auto fit = fit_in_situ({{1, 1, 1}, {2, 3, 2}, {3, 3, 3}}, 2);
    ASSERT_TRUE(fit);
    const double variance = 6.0 / 9;
    EXPECT_NEAR(standard_error_at(*fit, 2).value(), std::sqrt(variance / 3), 1e-9);
    EXPECT_NEAR(standard_error_at(*fit, 4).value(), std::sqrt(variance * (1.0 / 3 + 2)), 1e-9);
    EXPECT_FALSE(standard_error_at(*fit_in_situ({{1, 1, 1}, {2, 3, 2}}, 2), 1));
}

TEST(AveragedBox, CoversThePixelsThatAreAveraged) {
    struct Case {
        double x;
        int side;
        int left;
        int right;
    };
    for (const Case& c : {Case{10.7, 5, 8, 12}, Case{10.7, 4, 8, 11}, Case{10, 1, 10, 10},
                          Case{0.5, 4, -1, 1}, Case{10, 0, 0, -1}}) {
        const PixelBox box = averaged_box({.x = c.x, .y = c.x}, c.side);
        EXPECT_EQ(box.left, c.left) << c.x << " " << c.side;
        EXPECT_EQ(box.right, c.right) << c.x << " " << c.side;
        EXPECT_EQ(box.bottom, c.right) << c.x << " " << c.side;
    }
}

}  // namespace
}  // namespace vyn::test
