#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "markers/marker_files.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A small test point whose truth is known, in a folder of its own.
class Calibrate : public testing::Test {
  protected:
    Calibrate() {
        const ProgramRun made = run_program({"sample", sample, "--size", "320x240"});
        EXPECT_EQ(made.status, 0) << made.err;
        put_ports_on_pixels();
    }

    /// Positions are truncated to whole pixels; ports that stand on them see the truth.
    void put_ports_on_pixels() const {
        register_plugins("*.2dio");
        const image truth = read_image(sample / "truth.tif");
        MarkerSet set;
        ASSERT_TRUE(read_markers(ports, set, truth.height()));
        for (Marker& port : set.markers) {
            port.x = std::round(port.x);
            port.y = std::round(port.y);
            port.f = static_cast<double>(
                truth.values()(static_cast<int>(port.x), static_cast<int>(port.y)));
        }
        ASSERT_TRUE(write_markers(ports, set));
    }

    ProgramRun calibrate(std::vector<std::string> more) const {
        std::vector<std::string> arguments{"calibrate", project, "--area", "3", "--quiet"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run_program(arguments);
    }

    /// RMS error of the project's field in percent of the truth's range.
    double field_error(const std::string& wind_off_ratio) const {
        const ProgramRun run =
            run_program({"run", project, "--quiet", "--set",
                         "project/processing/convert/wind_off_ratio=" + wind_off_ratio, "--save",
                         "field_P=" + (folder / "field.tif").string(), "--report",
                         folder / "run.json", "--force"});
        EXPECT_EQ(run.status, 0) << run.err;
        const ProgramRun compared =
            run_program({"compare", folder / "field.tif", sample / "truth.tif", "--edge", "12",
                         "--markers", sample / "truth.mrk", "--dot", "8", "--json"});
        EXPECT_EQ(compared.status, 0) << compared.err;
        return nlohmann::json::parse(compared.out).at("rms_percent").get<double>();
    }

    nlohmann::json report_of(const std::string& name) const {
        return nlohmann::json::parse(get_file(folder / name));
    }

    TemporaryFolder folder;
    std::filesystem::path sample = folder / "sample";
    std::string project = sample / "project.xml";
    std::string ports = sample / "ports.mrk";
};

TEST_F(Calibrate, FitsReportsAndStoresALawThatGivesTheTruth) {
    const ProgramRun run =
        calibrate({"--ports", ports, "--terms", "3", "--out", folder / "law.clb", "--results",
                   folder / "ports.csv", "--report", folder / "law.json", "--accept"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("gamma31"));
    EXPECT_THAT(run.out, HasSubstr("enters the law as Pa"));

    const nlohmann::json law = report_of("law.json").at("calibration");
    const nlohmann::json& points = law.at("ports");
    ASSERT_GE(points.size(), 5u);
    EXPECT_EQ(law.at("covariance").size(), 3u);
    EXPECT_GT(law.at("standard_errors").at("gamma11").get<double>(), 0);
    EXPECT_EQ(law.at("fa"), 1);
    EXPECT_NE(law.at("fa_by_law"), 1);

    // The file of the ports holds what the report holds, to the last bit.
    std::string expected = "Number,I0/I,P\n";
    for (const auto& point : points)
        expected += std::to_string(point.at("number").get<int>()) + "," +
                    format_double(point.at("ratio").get<double>()) + "," +
                    format_double(point.at("pressure").get<double>()) + "\n";
    EXPECT_EQ(get_file(folder / "ports.csv"), expected);

    const std::string stored = run_program({"get", project, "project/sens_paint/gamma21"}).out;
    EXPECT_EQ(stored, format_double(law.at("coefficients").at("gamma21").get<double>()) + "\n");
    EXPECT_EQ(run_program({"get", project, "project/sens_paint/gamma22"}).out, "0\n");
    EXPECT_THAT(get_file(folder / "law.clb"), HasSubstr("gamma31"));

    EXPECT_EQ(run_program({"get", project, keys::convert_wind_off_ratio.path.data()}).out,
              "unity\n");
    EXPECT_LT(field_error("unity"), 0.05);
    EXPECT_EQ(report_of("run.json").at("conversion").at("fa"), 1);
    EXPECT_GT(field_error("law"), 1);
}

TEST_F(Calibrate, TwoTermsAreExplained) {
    const std::string before = get_file(project);
    const ProgramRun run =
        calibrate({"--ports", ports, "--terms", "2", "--unit", "torr", "--wind-off-ratio", "law"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("With 2 terms gamma31 is 0"));
    EXPECT_THAT(run.out, HasSubstr("and takes fa = 1"));
    EXPECT_THAT(run.out, HasSubstr("are in torr"));
    EXPECT_EQ(get_file(project), before);

    const ProgramRun unity = calibrate({"--ports", ports, "--terms", "2"});
    EXPECT_THAT(unity.out, testing::Not(HasSubstr("gamma31 is 0")));
}

/// Six ports of low pressure on a paint 5 % off its laboratory law and 3 degrees warmer than told:
/// one constant is right where no port is, a law of three terms is not.
TEST_F(Calibrate, AConstantIsRightWhereAPolynomialExtrapolates) {
    const ProgramRun made = run_program({"sample", sample, "--size", "320x240", "--force",
                                         "--ratio-gain", "1.05", "--warmer", "3", "--ports", "6"});
    ASSERT_EQ(made.status, 0) << made.err;
    const std::string law = get_file(project);
    EXPECT_GT(field_error("law"), 15);
    std::vector<std::string> fit{
        "--ports",        ports,      "--model",         "k",        "--unit",       "Pa", "--out",
        folder / "k.clb", "--report", folder / "k.json", "--accept", "--port-sigma", "20"};
    const ProgramRun run = calibrate(fit);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("P = law(k fa R, T), k = "));
    const nlohmann::json found = report_of("k.json").at("calibration");
    EXPECT_EQ(found.at("ports").size(), 6u);
    EXPECT_NEAR(found.at("constants").at("values").at("k").get<double>(), 0.957, 0.002);
    EXPECT_LT(field_error("unity"), 0.3);
    EXPECT_THAT(get_file(folder / "k.clb"), HasSubstr("[covariance]"));
    EXPECT_EQ(run_program({"get", project, "project/sens_paint/gamma22"}).out.front() == '0',
              false);

    put_file(project, law);
    ASSERT_EQ(calibrate({"--ports", ports, "--terms", "3", "--unit", "Pa", "--accept"}).status, 0);
    EXPECT_GT(field_error("unity"), 2);
}

TEST_F(Calibrate, OneLawForSeveralPoints) {
    const std::string second = folder / "second";
    ASSERT_EQ(run_program({"sample", second, "--size", "320x240", "--seed", "2"}).status, 0);
    const std::string other = second + "/project.xml";
    std::vector<std::string> both{"calibrate",
                                  project,
                                  other,
                                  "--area",
                                  "3",
                                  "--quiet",
                                  "--model",
                                  "offset-gain",
                                  "--accept",
                                  "--unit",
                                  "Pa",
                                  "--report",
                                  folder / "joint.json",
                                  "--out",
                                  folder / "joint.clb"};
    EXPECT_THAT(run_program(both).err, HasSubstr("port_file names no ports"));
    both.insert(both.end(), {"--set", "project/test_point/port_file=ports.mrk"});
    const ProgramRun run = run_program(both);
    ASSERT_EQ(run.status, 0) << run.err;
    const nlohmann::json points = report_of("joint.json").at("points");
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[1].at("project"), other);
    EXPECT_EQ(points[0].at("constants"), points[1].at("constants"));
    EXPECT_NEAR(points[0].at("constants").at("values").at("gain").get<double>(), 1, 0.01);
    EXPECT_NE(points[0].at("ports")[0].at("ratio"), points[1].at("ports")[0].at("ratio"));
    const std::string gamma = "project/sens_paint/gamma21";
    EXPECT_EQ(run_program({"get", project, gamma}).out, run_program({"get", other, gamma}).out);
    EXPECT_LT(field_error("unity"), 0.5);
    EXPECT_THAT(get_file(folder / "joint.clb"), HasSubstr("[covariance]"));
}

TEST_F(Calibrate, StoresInAContainerWithoutLosingItsImages) {
    const std::string container = folder / "point.ims";
    const std::vector<std::string> pack{"run", project, "--quiet", "--save-project", container};
    ASSERT_EQ(run_program(pack).status, 0);
    const ProgramRun run = run_program({"calibrate", container, "--ports", ports, "--terms", "3",
                                        "--area", "3", "--quiet", "--accept"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run_program({"get", container, "project/sens_paint/gamma22"}).out, "0\n");
    const ProgramRun again = run_program(
        {"run", container, "--quiet", "--save", "wind_off_sens=" + (folder / "w.tif").string()});
    EXPECT_EQ(again.status, 0) << again.err;
}

TEST_F(Calibrate, RefusalsChangeNothing) {
    put_file(folder / "old.json", "kept");
    struct Case {
        std::vector<std::string> arguments;
        int status;
        const char* told;
    };
    const Case cases[] = {
        {{"--ports", folder / "none.mrk", "--terms", "3"}, 1, "Calibration file doesn't exists:"},
        {{"--ports", ports, "--terms", "4"}, 2, "--terms"},
        {{"--ports", ports, "--terms", "3", "--unit", "stone"}, 2, "stone"},
        {{"--ports", ports}, 2, "--terms is required"},
        {{"--ports", ports, "--model", "k", "--terms", "3"}, 2, "polynomial only"},
        {{"--ports", ports, "--model", "k", "--wind-off-ratio", "law"}, 2, "holds the wind-off"},
        {{"--ports", ports, "--model", "k", "--set", "project/flow/wind_off_p=-1e9"},
         1,
         "wind-off ratio does not come from the project's law"},
        {{project, "--terms", "3", "--ports", ports}, 2, "--ports is for one project"},
        {{"--ports", ports, "--terms", "3", "--wind-off-ratio", "2"}, 2, "unity"},
        {{"--ports", ports, "--terms", "3", "--set",
          "project/processing/convert/wind_off_ratio=law"},
         2,
         "--wind-off-ratio"},
        {{"--ports", ports, "--terms", "3", "--report", folder / "old.json"}, 1, "--force"},
        {{"--ports", ports, "--terms", "3", "--set", "project/processing/align/markers_link=2"},
         1,
         "could not be aligned"},
        {{"--ports", ports, "--terms", "3", "--set", "project/test_point/wind_on_sens_file="},
         1,
         "wind_on_sens_file names no image"},
    };
    const std::string before = get_file(project);
    for (const Case& c : cases) {
        std::vector<std::string> arguments = c.arguments;
        for (const char* more : {"--accept", "--results"})
            arguments.emplace_back(more);
        arguments.push_back(folder / "out.csv");
        const ProgramRun run = calibrate(arguments);
        EXPECT_EQ(run.status, c.status) << c.told << "\n" << run.err;
        EXPECT_THAT(run.err, StartsWith("vynlite-batch: "));
        EXPECT_THAT(run.err, HasSubstr(c.told));
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(get_file(project), before) << c.told;
        EXPECT_FALSE(std::filesystem::exists(folder / "out.csv")) << c.told;
    }
    EXPECT_EQ(get_file(folder / "old.json"), "kept");
}

}  // namespace
}  // namespace vyn::test
