#include <cmath>
#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calib/in_situ_calibration.h"
#include "core/errors.h"
#include "core/log.h"
#include "markers/marker_files.h"
#include "tests/support/picture_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

using Pairs = std::vector<std::pair<double, double>>;

std::vector<CalibrationPoint> points_of(const Pairs& pairs) {
    std::vector<CalibrationPoint> points;
    for (const auto& [ratio, pressure] : pairs)
        points.push_back({ratio, pressure, static_cast<std::int32_t>(points.size() + 1)});
    return points;
}

TEST(InSituFit, HandCases) {
    struct Case {
        Pairs pairs;
        int terms;
        std::array<double, 3> coefficients;
        double deviation;
        std::size_t worst;
    };
    const Case cases[] = {
        {{{0.5, 2}, {1, 1}, {1.5, 0}}, 2, {3, -2, 0}, 0, 0},
        // N = n + 1: the sum of squares is not divided
        {{{0.5, 2}, {1, 1}, {1.5, 1}}, 2, {7.0 / 3, -1, 0}, std::sqrt(1.0 / 6), 1},
        {{{1, 1}, {1, 2}, {1, 6}}, 1, {3, 0, 0}, std::sqrt(14.0), 2},
        {{{1, 0}, {2, 0}, {3, 4}, {4, 4}}, 1, {2, 0, 0}, std::sqrt(8.0), 0},
        {{{0, 1}, {1, 2}, {2, 5}}, 3, {1, 0, 1}, 0, 0},
    };
    for (const Case& c : cases) {
        const auto fit = fit_in_situ(points_of(c.pairs), c.terms);
        ASSERT_TRUE(fit);
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(fit->coefficients[k], c.coefficients[k], 1e-12);
        EXPECT_NEAR(fit->deviation, c.deviation, 1e-12);
        EXPECT_EQ(fit->worst, c.worst);
    }
}

TEST(InSituFit, CovarianceAndResidualsByHand) {
    const auto fit = fit_in_situ(points_of({{0.5, 2}, {1, 1}, {1.5, 1}}), 2);
    ASSERT_TRUE(fit && fit->covariance);
    EXPECT_THAT(fit->residuals, ElementsAre(DoubleNear(-1.0 / 6, 1e-12), DoubleNear(1.0 / 3, 1e-12),
                                            DoubleNear(-1.0 / 6, 1e-12)));
    // Without the middle port the line runs through (1, 1.5).
    EXPECT_NEAR(fit->leave_one_out[1], 0.5, 1e-12);
    EXPECT_NEAR((*fit->covariance)[0][0], 7.0 / 18, 1e-12);
    EXPECT_NEAR((*fit->covariance)[1][1], 1.0 / 3, 1e-12);
    EXPECT_NEAR((*fit->covariance)[0][1], -1.0 / 3, 1e-12);
}

TEST(InSituFit, LeaveOneOutIsTheErrorOfAFitWithoutThePort) {
    const auto points = points_of({{0.8, 71}, {0.9, 80}, {0.95, 88}, {1.02, 93}, {1.1, 104}});
    for (const int terms : {1, 2, 3}) {
        const auto fit = fit_in_situ(points, terms);
        ASSERT_TRUE(fit);
        for (std::size_t i = 0; i < points.size(); ++i) {
            auto others = points;
            others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
            const auto c = fit_in_situ(others, terms)->coefficients;
            const double x = points[i].ratio;
            EXPECT_NEAR(fit->leave_one_out[i], c[0] + c[1] * x + c[2] * x * x - points[i].pressure,
                        1e-6);
        }
    }
}

TEST(InSituFit, AsManyPortsAsTermsLeaveNothingToJudge) {
    const auto fit = fit_in_situ(points_of({{1, 5}, {2, 7}}), 2);
    ASSERT_TRUE(fit);
    EXPECT_NEAR(fit->coefficients[0], 3, 1e-12);
    EXPECT_FALSE(fit->covariance);
    EXPECT_TRUE(std::isnan(fit->leave_one_out[0]));
}

TEST(InSituFit, RefusesWhatDeterminesNoLaw) {
    const auto equal = points_of({{0.1, 1}, {0.1, 2}, {0.1, 3}, {0.1, 5}, {0.1, 6}, {0.1, 7}});
    EXPECT_FALSE(fit_in_situ(points_of({{0.3, 1}, {0.3, 2}}), 2));
    EXPECT_FALSE(fit_in_situ(equal, 2));
    EXPECT_FALSE(fit_in_situ(points_of({{0.1, 1}, {0.7, 2}, {0.1, 3}, {0.7, 1}}), 3));
    EXPECT_TRUE(fit_in_situ(equal, 1));
    EXPECT_FALSE(fit_in_situ({}, 1));
    EXPECT_FALSE(fit_in_situ(points_of({{1, nan}, {2, 1}, {3, 2}}), 2));
    EXPECT_FALSE(fit_in_situ(points_of({{INFINITY, 1}, {2, 1}, {3, 2}}), 2));
    EXPECT_THROW(fit_in_situ(equal, 0), AlgoError);
    EXPECT_THROW(fit_in_situ(equal, 4), AlgoError);
    gauss_approximation same_ratio(2);
    same_ratio.add(0.3, 1);
    same_ratio.add(0.3, 2);
    EXPECT_FALSE(same_ratio.solve());
}

/// 500 noisy draws of a known law: each coefficient within two stated standard deviations in 95 %.
TEST(InSituFit, CovarianceCoversTheTruth) {
    const std::array<double, 3> truth{-12800, 98500, 15500};
    std::mt19937_64 random(20240611);
    std::normal_distribution<double> noise(0, 50);
    constexpr int draws = 500;
    for (const std::size_t terms : {2u, 3u}) {
        std::array<int, 3> inside{};
        for (int draw = 0; draw < draws; ++draw) {
            std::vector<CalibrationPoint> points;
            for (int port = 0; port < 40; ++port) {
                const double x = 0.75 + 0.01 * port;
                double pressure = noise(random);
                for (std::size_t k = 0; k < terms; ++k)
                    pressure += truth[k] * std::pow(x, k);
                points.push_back({x, pressure, port});
            }
            const auto fit = fit_in_situ(points, static_cast<int>(terms));
            ASSERT_TRUE(fit && fit->covariance);
            for (std::size_t k = 0; k < terms; ++k)
                inside[k] += std::abs(fit->coefficients[k] - truth[k]) <=
                             2 * std::sqrt((*fit->covariance)[k][k]);
        }
        for (std::size_t k = 0; k < terms; ++k)
            EXPECT_NEAR(inside[k] / static_cast<double>(draws), 0.95, 0.03) << terms << " " << k;
    }
}

/// Pixel (x, y) holds x + 100 y.
image ramp(int width, int height) {
    return picture_of(width, height, [](int x, int y) { return x + 100 * y; });
}

MarkerSet one_port(double x, double y) {
    MarkerSet set;
    set.markers = {{.x = x, .y = y, .f = 7, .id = 42}};
    set.hasX = set.hasY = set.hasF = true;
    return set;
}

TEST(PortSampling, AveragesTheSquareThatTheSideGives) {
    image picture = ramp(20, 10);
    picture.mask()(19, 9) = 1;
    struct Case {
        double x, y;
        int side;
        double mean;
    };
    const Case cases[] = {
        {10.7, 5.2, 1, 510},                  // the pixel at the truncated position
        {10.7, 5.2, 4, 459.5},                // from -2 to +1
        {10, 5, 3, 510},                      // from -1 to +1
        {0.3, 5, 4, 450 + 1.0 / 3},           // column 0 counts twice
        {-0.9, 0, 1, 0},                      // truncated into the picture
        {19, 9, 3, (818 + 819 + 918) / 3.0},  // cut off by the edge, without the excluded pixel
    };
    for (const Case& c : cases) {
        const auto samples = sample_ports(picture, one_port(c.x, c.y), c.side);
        ASSERT_THAT(samples.points, SizeIs(1)) << c.x << " " << c.y;
        EXPECT_NEAR(samples.points[0].ratio, c.mean, 1e-9) << c.x << " " << c.y;
        EXPECT_EQ(samples.points[0].pressure, 7);
        EXPECT_EQ(samples.points[0].number, 42);
    }
}

TEST(PortSampling, TellsWhichPortsGiveNoPoint) {
    image picture = ramp(20, 10);
    picture.mask()(3, 3) = 1;
    picture.values()(5, 5) = std::numeric_limits<float>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const std::pair<double, double> places[] = {{-1, 5}, {20, 5},  {3, 10},  {3, 3},
                                                {5, 5},  {nan, 5}, {inf, 5}, {1e300, -1e300}};
    for (const auto& [x, y] : places) {
        const auto samples = sample_ports(picture, one_port(x, y), 1);
        EXPECT_THAT(samples.points, IsEmpty()) << x << " " << y;
        EXPECT_THAT(samples.left_out, ElementsAre(HasSubstr("port 42"))) << x << " " << y;
    }
    MarkerSet no_pressure = one_port(8, 8);
    no_pressure.markers[0].f = nan;
    EXPECT_THAT(sample_ports(picture, no_pressure, 1).left_out,
                ElementsAre(HasSubstr("its pressure is no finite number")));
    MarkerSet inactive = one_port(8, 8);
    inactive.markers[0].active = false;
    const auto skipped = sample_ports(picture, inactive, 1);
    EXPECT_TRUE(skipped.points.empty() && skipped.left_out.empty());
    EXPECT_THAT(sample_ports(picture, one_port(8, 8), 0).points, IsEmpty());
    EXPECT_THROW(sample_ports(picture, one_port(8, 8), -1), AlgoError);
    EXPECT_THROW(sample_ports(picture, one_port(8, 8), 2000000000), AlgoError);
    picture.drop_values();
    EXPECT_THROW(sample_ports(picture, one_port(8, 8), 1), AlgoError);
}

std::vector<std::string> lines_of_level(LogLevel level) {
    std::vector<std::string> lines;
    for (const LogLine& line : get_log_mgr().take_new_lines())
        if (line.level == level) lines.push_back(line.text);
    return lines;
}

/// Ports in a marker file, as XML columns.
std::string port_file(const std::string& x, const std::string& f, int count) {
    const auto column = [](const std::string& id, const std::string& values) {
        return "<Function id=\"" + id + "\">" + values + "</Function>";
    };
    return "<?xml version=\"1.0\"?><ObjectMarkers><NodesNumber>" + std::to_string(count) +
           "</NodesNumber>" + column("x", x) + column("y", x) + (f.empty() ? "" : column("f", f)) +
           "</ObjectMarkers>";
}

struct BadPorts {
    const char* name;
    std::string content;  ///< of the port file; empty: there is none
    const char* warning;
    const char* line;    ///< start of the log line
    const char* reason;  ///< part of what is told besides
};

class InSituFailure : public testing::TestWithParam<BadPorts> {};

TEST_P(InSituFailure, IsToldAndLogged) {
    const TemporaryFolder folder;
    const std::string file = folder / "ports.mrk";
    if (!GetParam().content.empty()) put_file(file, GetParam().content);
    const image flat(Bitmap<float>(10, 10, 0.5f), Bitmap<std::uint8_t>(10, 10, 0));
    get_log_mgr().take_new_lines();
    const InSituOutcome outcome = calibrate_in_situ(file, &flat, {.terms = 2, .side = 1});
    EXPECT_FALSE(outcome.calibration);
    EXPECT_EQ(outcome.warning, GetParam().warning);
    EXPECT_THAT(outcome.reason, HasSubstr(GetParam().reason));
    EXPECT_THAT(lines_of_level(LogLevel::error), Contains(testing::StartsWith(GetParam().line)));
}

INSTANTIATE_TEST_SUITE_P(
    Ports, InSituFailure,
    testing::Values(BadPorts{"missing", "", "Error Reading Markers",
                             "Calibration file doesn't exists:/", "ports.mrk"},
                    BadPorts{"malformed", "<ObjectMark", "Error Reading Markers",
                             "Calibration file can't be read:/", "ports.mrk"},
                    BadPorts{"bad_position", port_file("nan 1", "1 2", 2), "Error Reading Markers",
                             "Calibration file can't be read:/", "marker 1 has no finite position"},
                    BadPorts{"none", port_file("", "", 0), "Markers file empty",
                             "Calibration file doesn't have any markers:/", "ports.mrk"},
                    BadPorts{"no_pressures", port_file("1 2", "", 2),
                             "Markers file doesn't have pressure information",
                             "Calibration file doesn't have Pressure information:/", "ports.mrk"},
                    BadPorts{"text_for_pressure", port_file("1 2", "1 high", 2),
                             "Markers file doesn't have pressure information",
                             "Calibration file doesn't have Pressure information:/", "no number"},
                    BadPorts{"outside", port_file("-5 50", "1 2", 2),
                             "No data points, can't calculate calibration!",
                             "Calibration:No data points, can't calculate calibration!",
                             "port 2 at (50, 50)"},
                    BadPorts{"nan_pressures", port_file("1 2", "nan nan", 2),
                             "No data points, can't calculate calibration!",
                             "Calibration:No data points, can't calculate calibration!",
                             "its pressure is no finite number"},
                    BadPorts{"equal_ratios", port_file("1 2 3", "1 2 3", 3),
                             "Can't calculate calibration!",
                             "Calibration: can't find solution Gauss approximation!",
                             "fewer different ratios"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(InSituCalibration, MakesARecordAndTellsEachStep) {
    const TemporaryFolder folder;
    const std::string file = folder / "ports.mrk";
    // On the diagonal of the ramp the ratio is 101 x.
    put_file(file, port_file("1 2 4 90", "102 203 405 7", 4));
    const image picture = ramp(20, 10);
    EXPECT_EQ(calibrate_in_situ(file, nullptr, {}).warning, "I/Iref image doesn't exists");
    EXPECT_THROW(calibrate_in_situ(file, &picture, {.terms = 4}), AlgoError);

    get_log_mgr().take_new_lines();
    const auto outcome =
        calibrate_in_situ(file, &picture, {.terms = 2, .side = 1, .pressure_unit = "torr"});
    ASSERT_TRUE(outcome.calibration) << outcome.reason;
    const paintFeatures& paint = outcome.calibration->paint;
    paintFeatures expected;
    expected.pressure_unit = "torr";
    expected.gamma[0][0] = paint.gamma[0][0];
    expected.gamma[1][0] = paint.gamma[1][0];
    ASSERT_TRUE(paint.covariance) << "of three ports and two terms";
    EXPECT_EQ((*paint.covariance)[0][3], (*outcome.calibration->fit.covariance)[0][1]);
    EXPECT_EQ((*paint.covariance)[3][3], (*outcome.calibration->fit.covariance)[1][1]);
    EXPECT_EQ((*paint.covariance)[1][1], 0);
    expected.covariance = paint.covariance;
    EXPECT_EQ(paint, expected);
    EXPECT_NEAR(paint.gamma[0][0], 1, 1e-9);
    EXPECT_NEAR(paint.gamma[1][0], 1, 1e-12);
    EXPECT_THAT(outcome.calibration->samples.left_out, SizeIs(1));
    EXPECT_THAT(
        lines_of_level(LogLevel::progress),
        ElementsAre("Calibration pressure ports:4",
                    "Calibration using:3 pressure ports for calibration, approximation order:2",
                    HasSubstr("Calibration calculated! Epsilon="),
                    HasSubstr("Calibration: gamma11=")));

    // Fewer ports than terms: the law has as many terms as there are ports.
    const auto three = calibrate_in_situ(file, &picture, {.terms = 3, .side = 1});
    ASSERT_TRUE(three.calibration);
    put_file(file, port_file("1 2", "102 203", 2));
    const auto two = calibrate_in_situ(file, &picture, {.terms = 3, .side = 1});
    ASSERT_TRUE(two.calibration);
    EXPECT_EQ(two.calibration->fit.terms, 2);
    EXPECT_EQ(two.calibration->paint.gamma[2][0], 0);
}

}  // namespace
}  // namespace vyn::test
