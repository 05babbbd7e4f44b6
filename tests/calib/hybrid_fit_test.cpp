#include "calib/hybrid_fit.h"

#include <cmath>
#include <random>

#include <gmock/gmock.h>

#include "calib/in_situ_calibration.h"
#include "calib/units.h"
#include "core/errors.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

constexpr std::array pressures{71e3, 74e3, 78e3, 83e3, 91e3, 98e3};

paintFeatures laboratory() {
    paintFeatures paint;
    paint.gamma = {{{-13000, 35, 0.15}, {93000, 210, -0.3}, {18000, -40, 0.2}}};
    return paint;
}

LawAtPoint taken_at(const paintFeatures& paint, double wind_on_t, double wind_off_t = 20,
                    double wind_off_p = 1e5) {
    flowFeatures flow;
    flow.wind_on_t = wind_on_t;
    flow.wind_off_t = wind_off_t;
    flow.wind_off_p = wind_off_p;
    flow.t_unit = "C";
    return {prepare_conversion(FieldQuantity::pressure, paint, flow)};
}

double pressure(const LawCoefficients& gamma, double temperature, double ratio) {
    paintFeatures paint;
    paint.gamma = gamma;
    const PaintLaw law = law_at(paint, temperature);
    return law.a + (law.b + law.c * ratio) * ratio;
}

/// The ratio of a law, which rises, by halving.
double ratio_at(const LawCoefficients& gamma, double temperature, double wanted) {
    double low = 0;
    double high = 4;
    for (int i = 0; i < 100; ++i) {
        const double middle = (low + high) / 2;
        (pressure(gamma, temperature, middle) < wanted ? low : high) = middle;
    }
    return low;
}

/// Ports of a point whose real law is the laboratory's with these constants.
HybridPoint point_with(const HybridConstants& constants, const LawAtPoint& law) {
    const LawCoefficients real = with_constants(law.conversion.paint.gamma, constants,
                                                law.conversion.conversion.wind_off_ratio);
    const double t = law.conversion.flow_in_paint_units.wind_on_t;
    HybridPoint point{law, {}};
    for (const double p : pressures)
        point.ports.push_back(
            {ratio_at(real, t, p), p, static_cast<std::int32_t>(point.ports.size() + 1)});
    return point;
}

TEST(HybridFit, FindsTheConstantsAndTheLawThatGivesThem) {
    const std::pair<CalibrationModel, HybridConstants> cases[] = {
        {CalibrationModel::ratio_gain, {.ratio_gain = 0.93}},
        {CalibrationModel::offset_gain, {.offset = 1500, .gain = 1.07}},
        {CalibrationModel::temperature, {.degrees = -4.5}},
    };
    for (const auto& [model, constants] : cases) {
        // two points at other conditions, one set of constants
        const std::array points{point_with(constants, taken_at(laboratory(), 26)),
                                point_with(constants, taken_at(laboratory(), 31, 18, 97e3))};
        const HybridOutcome outcome = fit_hybrid(points, model, 0);
        ASSERT_TRUE(outcome.fit) << outcome.reason;
        const HybridConstants& found = outcome.fit->constants;
        EXPECT_NEAR(found.ratio_gain, constants.ratio_gain, 1e-9);
        EXPECT_NEAR(found.offset, constants.offset, 1e-4);
        EXPECT_NEAR(found.gain, constants.gain, 1e-9);
        EXPECT_NEAR(found.degrees, constants.degrees, 1e-6);
        for (std::size_t j = 0; j < points.size(); ++j)
            for (const CalibrationPoint& port : points[j].ports)
                EXPECT_NEAR(
                    pressure(outcome.fit->laws[j],
                             points[j].law.conversion.flow_in_paint_units.wind_on_t, port.ratio),
                    port.pressure, 1e-3);
        for (const double error : outcome.fit->leave_one_out)
            EXPECT_NEAR(error, 0, 1e-2);
    }
}

TEST(HybridFit, AWrongPortCountsLittle) {
    HybridPoint point = point_with({.ratio_gain = 1.05}, taken_at(laboratory(), 26));
    std::mt19937_64 random(7);
    std::normal_distribution<double> noise(0, 30);
    for (CalibrationPoint& port : point.ports)
        port.pressure += noise(random);
    point.ports[3].pressure += 9000;
    const HybridOutcome outcome = fit_hybrid({&point, 1}, CalibrationModel::ratio_gain, 0);
    ASSERT_TRUE(outcome.fit) << outcome.reason;
    EXPECT_LT(outcome.fit->weights[3], 0.1);
    // least squares would give 1.034
    EXPECT_NEAR(outcome.fit->constants.ratio_gain, 1.05, 1e-3);
    EXPECT_LT(outcome.fit->leave_one_out[3], -8500);
}

TEST(HybridFit, OneCalibrationForSeveralPointsUnlessTheirWindOffRatiosDiffer) {
    const HybridConstants constants{.ratio_gain = 1.04};
    for (const double wind_off_p : {1e5, 99e3}) {
        std::vector<SampledPoint> points;
        for (const auto& [name, law] : {std::pair{"a", taken_at(laboratory(), 26)},
                                        std::pair{"b", taken_at(laboratory(), 30, 20, wind_off_p)}})
            points.push_back({name, {point_with(constants, law).ports, {}}, law});
        points[1].samples.points[2].pressure += 50;
        const JointOutcome outcome =
            calibrate_jointly(points, {.model = CalibrationModel::ratio_gain});
        ASSERT_TRUE(outcome.calibration) << outcome.reason;
        const JointCalibration& joint = *outcome.calibration;
        EXPECT_EQ(joint.common.has_value(), wind_off_p == 1e5);
        EXPECT_LT(std::abs(joint.points[0].fit.residuals[2]), 10);
        EXPECT_NEAR(joint.points[1].fit.residuals[2], -50, 10);
        EXPECT_EQ(joint.points[1].fit.worst, 2u);
        const double ratio = points[1].samples.points[4].ratio;
        EXPECT_NEAR(pressure_at(joint.points[1].fit.coefficients, ratio),
                    pressure(joint.points[1].paint.gamma, 30, ratio), 1e-6);
    }
}

TEST(HybridFit, OnePolynomialForSeveralPoints) {
    SampledPoint low{"low", {{{0.6, 60, 1}, {0.7, 70, 2}}, {}}};
    SampledPoint high{"high", {{{1.1, 110, 1}, {1.2, 123, 2}}, {}}};
    const JointOutcome outcome = calibrate_jointly({low, high}, {.terms = 2});
    ASSERT_TRUE(outcome.calibration) << outcome.reason;
    const auto all = fit_in_situ({{0.6, 60, 1}, {0.7, 70, 2}, {1.1, 110, 1}, {1.2, 123, 2}}, 2);
    EXPECT_EQ(outcome.calibration->points[1].fit.coefficients, all->coefficients);
    EXPECT_EQ(outcome.calibration->points[1].fit.residuals[1], all->residuals[3]);
    EXPECT_EQ(outcome.calibration->points[0].fit.residuals.size(), 2u);
}

TEST(HybridFit, SaysWhyThereIsNone) {
    const LawAtPoint law = taken_at(laboratory(), 26);
    HybridPoint good = point_with({}, law);
    HybridPoint one = good;
    one.ports.resize(1);
    HybridPoint equal = good;
    for (CalibrationPoint& port : equal.ports)
        port = good.ports.front();
    HybridPoint none{taken_at(paintFeatures{}, 26), good.ports};
    paintFeatures isothermal = laboratory();
    for (auto& row : isothermal.gamma)
        row[1] = row[2] = 0;
    HybridPoint flat{taken_at(isothermal, 26), good.ports};
    HybridPoint nan = good;
    nan.ports[2].ratio = std::nan("");
    const std::tuple<HybridPoint, CalibrationModel, const char*> cases[] = {
        {one, CalibrationModel::offset_gain, "fits 2 constants, and there is 1 port"},
        {equal, CalibrationModel::offset_gain, "different pressures"},
        {none, CalibrationModel::ratio_gain, "no paint calibration"},
        {flat, CalibrationModel::temperature, "hardly depends"},
        {nan, CalibrationModel::ratio_gain, "Port 3 has no finite number"},
    };
    for (const auto& [point, model, why] : cases) {
        const HybridOutcome outcome = fit_hybrid({&point, 1}, model, 0);
        EXPECT_FALSE(outcome.fit);
        EXPECT_THAT(outcome.reason, HasSubstr(why));
    }
    const HybridOutcome mixed =
        fit_hybrid(std::array{good, HybridPoint{taken_at(isothermal, 26), good.ports}},
                   CalibrationModel::ratio_gain, 0);
    EXPECT_THAT(mixed.reason, HasSubstr("different paint calibrations"));
    EXPECT_FALSE(fit_hybrid({&one, 1}, CalibrationModel::ratio_gain, 0).fit->covariances[0]);
    EXPECT_TRUE(fit_hybrid({&one, 1}, CalibrationModel::ratio_gain, 10).fit->covariances[0]);
    EXPECT_THROW(fit_hybrid({&good, 1}, CalibrationModel::polynomial, 0), AlgoError);
}

/// Draws of ports, law, temperatures and wind-off pressure: the law far from the ports scatters as
/// its covariance says, which is far less than the sources would give without the ports.
TEST(HybridFit, CovarianceIsTheScatterOfDraws) {
    paintFeatures paint = laboratory();
    LawCovariance& covariance = paint.covariance.emplace();
    covariance[0][0] = 300 * 300;
    covariance[3][3] = 500 * 500;
    covariance[0][3] = covariance[3][0] = -0.6 * 300 * 500;
    covariance[4][4] = 8 * 8;
    covariance[6][6] = 300 * 300;
    const UnitMessagesOff quiet;
    constexpr double sigma_p = 120;
    constexpr double far = 0.45;  // R; the ports begin at 0.72
    for (const CalibrationModel model :
         {CalibrationModel::ratio_gain, CalibrationModel::offset_gain,
          CalibrationModel::temperature}) {
        const LawAtPoint real = taken_at(laboratory(), 26);
        const HybridPoint truth = point_with({}, real);
        const double true_pressure = pressure(
            with_constants(laboratory().gamma, {}, real.conversion.conversion.wind_off_ratio), 26,
            far);
        std::mt19937_64 random(11);
        std::normal_distribution<double> normal;
        constexpr int draws = 600;
        double scatter = 0;
        double foretold = 0;
        for (int i = 0; i < draws; ++i) {
            paintFeatures drawn = paint;
            const double first = normal(random);
            drawn.gamma[0][0] += 300 * first;
            drawn.gamma[1][0] += 500 * (-0.6 * first + 0.8 * normal(random));
            drawn.gamma[1][1] += 8 * normal(random);
            drawn.gamma[2][0] += 300 * normal(random);
            HybridPoint point{taken_at(drawn, 26 + 1.5 * normal(random), 20 + normal(random),
                                       1e5 + 250 * normal(random)),
                              truth.ports};
            point.law.wind_on_t_sigma = 1.5;
            point.law.wind_off_t_sigma = 1;
            point.law.wind_off_p_sigma = 250;
            for (CalibrationPoint& port : point.ports)
                port.pressure += sigma_p * normal(random);
            const HybridOutcome outcome = fit_hybrid({&point, 1}, model, sigma_p);
            ASSERT_TRUE(outcome.fit) << outcome.reason;
            const double t = point.law.conversion.flow_in_paint_units.wind_on_t;
            const double error = pressure(outcome.fit->laws[0], t, far) - true_pressure;
            scatter += error * error;
            const LawCovariance& kept = *outcome.fit->covariances[0];
            for (std::size_t j = 0; j < 9; ++j)
                for (std::size_t k = 0; k < 9; ++k)
                    foretold += kept[j][k] * std::pow(far, int(j / 3 + k / 3)) *
                                std::pow(t, int(j % 3 + k % 3));
        }
        // the sampling error of a standard deviation from 600 draws is 3 %
        EXPECT_NEAR(std::sqrt(foretold / scatter), 1, 0.12) << calibration_model_name(model);
    }
}

}  // namespace
}  // namespace vyn::test
