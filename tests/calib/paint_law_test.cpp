#include "calib/paint_law.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>

namespace vyn {
namespace {

constexpr const char* incorrect =
    "Calibration coefficients for PSP acquisition are incorrect. Pressure field will be wrong";
constexpr const char* error = "Error in Paint Calibration Coefficients";

/// A law that does not depend on the temperature.
paintFeatures constant_law(double a, double b, double c) {
    paintFeatures paint;
    paint.gamma = {{{a, 0, 0}, {b, 0, 0}, {c, 0, 0}}};
    return paint;
}

TEST(WindOffRatio, SolvesTheLaw) {
    struct Case {
        double a, b, c, pressure, expected;
        const char* message;
        double temperature = 20;
    };
    const Case cases[] = {
        {-4, 3, 2, 10, 2, nullptr},         // 2 R^2 + 3 R - 4 = 10 has the roots 2 and -3.5
        {10, 3, -1, 0, -2, nullptr},        // of 5 and -2 the one with the positive square root
        {1, -2, 1, 0, 1, nullptr},          // D = 0
        {4, 1, 1, 0, 1, error},             // D < 0
        {-4, 3, 2, 10, 1, nullptr, -1e10},  // no temperature given
        {1, 2, 0, 7, 1, incorrect},         // linear, but not between the two limits
        {1, 2, -0.99e-10, 7, 1, incorrect},
        {1, 2, 1e-10, 7, 3, nullptr},
        {1, 2, -1.00000001e-10, 7, 3, nullptr},
        {1, 1e-10, 1.00000001e-10, 7, 1, error},
        {std::numeric_limits<double>::quiet_NaN(), 1, 1, 0, 1, error}};
    for (const Case& c : cases) {
        const WindOffRatio ratio =
            wind_off_ratio(constant_law(c.a, c.b, c.c), c.temperature, c.pressure);
        EXPECT_DOUBLE_EQ(ratio.value, c.expected) << c.a << ' ' << c.b << ' ' << c.c;
        EXPECT_STREQ(ratio.message, c.message) << c.a << ' ' << c.b << ' ' << c.c;
    }
}

const flowFeatures test_point{0, 0, 0, 0.25, 0.5, 1, 8, 4, "bar", "k"};

/// The names "Pa" and "C" stand in no unit table and have the factor 1: from the units of the
/// tables pressures become pascal and temperatures kelvin.
TEST(PreparedConversion, HandValues) {
    paintFeatures paint;
    paint.gamma = {{{-4, 0.5, 0}, {3, 0, 0.25}, {2, 0, 0}}};
    paint.pressure_unit = "bar";
    paint.maximal_pressure = 2;
    testing::internal::CaptureStderr();
    const PreparedConversion p = prepare_conversion(FieldQuantity::pressure, paint, test_point);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::AllOf(testing::HasSubstr("Pa: Incorrect new pressure unit\n"),
                               testing::HasSubstr("C: Incorrect new temperature unit\n"),
                               testing::HasSubstr("Pa: Incorrect pressure unit\n")));
    EXPECT_EQ(p.message, nullptr);
    EXPECT_DOUBLE_EQ(p.paint.maximal_pressure, 2e5);
    EXPECT_EQ(p.flow_in_paint_units, (flowFeatures{0, 0, 0, 25000, 50000, 1e5, 8, 4, "Pa", "C"}));
    // wind-on: a = -4 + 0.5 * 4, b = 3 + 0.25 * 16; wind-off: a = 0, b = 19
    const FieldConversion& c = p.conversion;
    EXPECT_EQ((std::array{c.law.a, c.law.b, c.law.c}), (std::array{-2.0, 7.0, 2.0}));
    EXPECT_DOUBLE_EQ(c.wind_off_ratio, (std::sqrt(19.0 * 19 + 8e5) - 19) / 4);
    EXPECT_EQ((std::array{c.static_pressure, c.dynamic_pressure}), (std::array{25000.0, 50000.0}));
    EXPECT_DOUBLE_EQ(c.unit_factor, 1e-5);
}

TEST(PreparedConversion, OnlyTheRatioNeedsNoLaw) {
    testing::internal::CaptureStderr();
    const auto ratio = prepare_conversion(FieldQuantity::ratio, paintFeatures{}, test_point);
    const auto cp = prepare_conversion(FieldQuantity::cp, paintFeatures{}, test_point);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(ratio.message, nullptr);
    EXPECT_EQ(ratio.conversion.quantity, FieldQuantity::ratio);
    EXPECT_STREQ(cp.message, incorrect);
    EXPECT_EQ(cp.conversion.wind_off_ratio, 1);
}

TEST(PreparedConversion, UnityAsksTheLawForNoWindOffRatio) {
    testing::internal::CaptureStderr();
    const paintFeatures linear = constant_law(1, 2, 0);
    const auto unity =
        prepare_conversion(FieldQuantity::pressure, linear, test_point, WindOffRule::unity);
    const paintFeatures quadratic = constant_law(-4, 3, 2);
    const auto law = prepare_conversion(FieldQuantity::pressure, quadratic, test_point);
    const auto same =
        prepare_conversion(FieldQuantity::pressure, quadratic, test_point, WindOffRule::unity);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(unity.message, nullptr);
    EXPECT_EQ(unity.conversion.wind_off_ratio, 1);
    EXPECT_NE(law.conversion.wind_off_ratio, 1);
    EXPECT_EQ(same.conversion.wind_off_ratio, 1);
    EXPECT_EQ(same.conversion.law.c, 2);
}

}  // namespace
}  // namespace vyn
