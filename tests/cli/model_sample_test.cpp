#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using nlohmann::json;

std::string output_of(const std::vector<std::string>& arguments) {
    const ProgramRun run = run_program(arguments);
    EXPECT_EQ(run.status, 0) << run.err;
    return run.out;
}

json json_of(const std::vector<std::string>& arguments) {
    return json::parse(output_of(arguments), nullptr, false);
}

/// The synthetic model in space, made once for all tests: two cameras, so that blending has work.
class ModelSample : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        register_plugins("*.3dio");
        folder_ = std::make_unique<TemporaryFolder>();
        output_of({"sample", in("s"), "--mesh", "--cameras", "2", "--size", "480x360",
                   "--mesh-nodes", "16000"});
        output_of(
            {"run", in("s/project.xml"), "--save-mesh", in("point.vtp"), "--report", in("r.json")});
    }
    static void TearDownTestSuite() { folder_.reset(); }

    static std::string in(const std::string& name) { return *folder_ / name; }
    static field_data<double> mesh(const std::string& name) {
        Progress progress;
        return read_field(in(name), progress);
    }
    static const std::vector<double>& values(const field_data<double>& mesh,
                                             const std::string& name) {
        return mesh.find(name)->values;
    }
    static inline std::unique_ptr<TemporaryFolder> folder_;
};

TEST_F(ModelSample, TellsWhereItsCameraStood) {
    const json report = json::parse(get_file(in("r.json")));
    const json& found = report.at("resection").at("views").at(0);
    const json truth = json::parse(get_file(in("s/pose.json"))).at("resection").at("views").at(0);
    // Markers have six digits in their files: 1e-3 px, 1e-3 mm.
    EXPECT_LT(found.at("rms_px").get<double>(), 1e-3);
    EXPECT_EQ(found.at("paired"), "by number");
    EXPECT_GT(found.at("pairs").get<int>(), 15);
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(found.at("R").at(i).get<double>(), truth.at("R").at(i).get<double>(), 1e-5);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(found.at("t").at(i).get<double>(), truth.at("t").at(i).get<double>(), 5e-3);
}

/// From camera pictures to pressure at nodes; the paint's texture aligns to 0.05 px.
TEST_F(ModelSample, GetsThePressureOfItsFormulas) {
    const std::vector<std::string> compare{"compare", in("point.vtp"), in("s/truth_mesh.vtp"),
                                           "--json"};
    const json everywhere = json_of(compare);
    EXPECT_EQ(everywhere.at("hidden_with_value"), 0);
    EXPECT_LT(everywhere.at("rms_percent").get<double>(), 2);
    const field_data<double> truth = mesh("s/truth_mesh.vtp");
    const field_data<double> point = mesh("point.vtp");
    for (std::size_t i = 0; i < point.vertices.size(); ++i) {
        EXPECT_TRUE(values(truth, "seen")[i] > 0 || std::isnan(values(point, "P")[i])) << i;
    }
    std::vector<std::string> inside = compare;
    inside.insert(inside.end(), {"--edge", "2", "--markers", in("s/markers3d.mrk"), "--dot", "14"});
    const json away = json_of(inside);
    EXPECT_GT(away.at("count").get<int>(), 4000);
    EXPECT_LT(away.at("rms_percent").get<double>(), 0.5);
    // Without the dots there is no need to look away from them.
    output_of({"run", in("s/project.xml"), "--set", "roject/processing/resection/marker_patch=5",
               "--save-mesh", in("patched.vtp")});
    const json patched =
        json_of({"compare", in("patched.vtp"), in("s/truth_mesh.vtp"), "--json", "--edge", "2"});
    EXPECT_LT(patched.at("rms_percent").get<double>(), 0.5);
    EXPECT_LT(patched.at("count").get<int>(), everywhere.at("count").get<int>());
}

/// The picture of the true pressure, projected by the true poses: the projection's own error. Every
/// node that is seen beyond a pixel of doubt has a value, and no hidden one.
TEST_F(ModelSample, LosesAndInventsNoNode) {
    output_of({"project", "--mesh", in("s/model.vtp"), "--poses", in("s/pose.json"), "--view",
               in("s/truth.tif"), in("s/camera.ini"), in("s/wind_off.mrk"), "--view",
               in("s/truth_2.tif"), in("s/camera_2.ini"), in("s/wind_off_2.mrk"), "--save",
               in("two.vtp")});
    const field_data<double> truth = mesh("s/truth_mesh.vtp");
    const field_data<double> two = mesh("two.vtp");
    const auto& p = values(two, "P");
    std::size_t doubtful = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        bool surely = false;
        bool surely_not = true;
        for (const char* camera : {"", "_2"}) {
            const double seen = values(truth, std::string("seen") + camera)[i];
            const double angle = values(truth, std::string("angle") + camera)[i];
            surely |= seen == 1 && angle < 68;
            surely_not &= seen == 0 || (seen == 1 && angle > 72);
        }
        doubtful += surely == surely_not;
        if (surely != surely_not) {
            EXPECT_EQ(std::isnan(p[i]), surely_not) << i;
        }
    }
    EXPECT_LT(doubtful, p.size() / 5);
    const json errors =
        json_of({"compare", in("two.vtp"), in("s/truth_mesh.vtp"), "--json", "--quantity", "P"});
    EXPECT_LT(errors.at("rms_percent").get<double>(), 0.45);
    // Where both cameras see a node, they agree.
    const auto& views = values(two, "views");
    const auto& spread = values(two, "spread");
    double squares = 0;
    std::size_t both = 0;
    for (std::size_t i = 0; i < p.size(); ++i)
        if (views[i] == 2) {
            ++both;
            squares += spread[i] * spread[i];
        }
    EXPECT_GT(both, p.size() / 5);
    EXPECT_LT(std::sqrt(squares / double(both)), 0.005 * 23000);
}

/// Loads and sections of the measured field against those of the truth on the same faces.
TEST_F(ModelSample, GetsItsLoadsAndSections) {
    field_data<double> truth = mesh("s/truth_mesh.vtp");
    const field_data<double> point = mesh("point.vtp");
    const auto& measured = values(point, "P");
    for (std::size_t i = 0; i < measured.size(); ++i)
        if (std::isnan(measured[i])) truth.quantities[0].values[i] = std::nan("");
    Progress progress;
    write_field(truth, in("same_faces.vtp"), progress);
    const auto loads = [&](const char* file) {
        return json_of({"loads", in(file), "--reference", in("s/reference.json")}).at("patches");
    };
    const json found = loads("point.vtp");
    const json wanted = loads("same_faces.vtp");
    ASSERT_EQ(found.size(), 6u);
    for (std::size_t k = 0; k < found.size(); ++k) {
        EXPECT_EQ(found[k].at("covered_area"), wanted[k].at("covered_area"));
        const auto coefficient = [&](const json& patches, const char* name) {
            return patches[k].at("coefficients").at(name).get<double>();
        };
        for (const char* name : {"CX", "CY", "CZ", "Cl", "Cm", "Cn"})
            EXPECT_NEAR(coefficient(found, name), coefficient(wanted, name), 5e-4)
                << found[k].at("patch") << " " << name;
    }
    const double lift = found.back().at("coefficients").at("CZ");
    EXPECT_GT(lift, 0.1) << "suction above";

    const auto section = [&](const char* file, const char* table) {
        return output_of({"section", in(file), "--plane", "y=250", "--plane", "y=-300", "--xc",
                          "0.3", "--lines", in("s/lines.csv"), "--out", in(table)});
    };
    section("point.vtp", "found.csv");
    section("same_faces.vtp", "wanted.csv");
    const auto rows = [&](const char* table) {
        const std::string text = get_file(in(table));
        return std::count(text.begin(), text.end(), '\n');
    };
    EXPECT_GT(rows("found.csv"), 100);
    EXPECT_EQ(rows("found.csv"), rows("wanted.csv"));
}

/// Wind-off and wind-on pictures by poses of their own, ratio and law node by node: no alignment of
/// pictures, the same answer.
TEST_F(ModelSample, FormsTheRatioOnItsMesh) {
    output_of({"run", in("s/project.xml"), "--set", "roject/processing/resection/ratio_on_mesh=1",
               "--save-mesh", in("nodes.vtp"), "--report", in("nodes.json")});
    const json away = json_of({"compare", in("nodes.vtp"), in("s/truth_mesh.vtp"), "--json",
                               "--edge", "2", "--markers", in("s/markers3d.mrk"), "--dot", "14"});
    EXPECT_GT(away.at("count").get<int>(), 4000);
    EXPECT_EQ(away.at("hidden_with_value"), 0);
    EXPECT_LT(away.at("rms_percent").get<double>(), 0.8) << "the wing bends, which no pose follows";
    const json report = json::parse(get_file(in("nodes.json")));
    EXPECT_EQ(report.at("resection").at("views").size(), 2u);
    EXPECT_EQ(report.at("projection").at("views").size(), 2u);
}

/// The field that another project saved joins the mesh, and covers what the first camera missed.
TEST_F(ModelSample, JoinsTheSavedFieldOfAFurtherProject) {
    const std::vector<std::string> joined{
        "run",         in("s/project.xml"),
        "--set",       "roject/processing/resection/views=project_2.xml",
        "--save-mesh", in("both.vtp"),
        "--force"};
    const ProgramRun early = run_program(joined);
    EXPECT_EQ(early.status, 1);
    EXPECT_THAT(early.err, testing::HasSubstr("Pressure_2.imp: no such file")) << "not saved yet";
    output_of({"run", in("s/project_2.xml"), "--save-field"});
    output_of(joined);
    const field_data<double> both = mesh("both.vtp");
    EXPECT_EQ(both.views.size(), 2u);
    const auto count = [&](double views) {
        return std::ranges::count(values(both, "views"), views);
    };
    EXPECT_GT(count(2), 2000);
    EXPECT_GT(count(1), 500);
    const json errors = json_of({"compare", in("both.vtp"), in("s/truth_mesh.vtp"), "--json",
                                 "--edge", "2", "--markers", in("s/markers3d.mrk"), "--dot", "14"});
    EXPECT_EQ(errors.at("hidden_with_value"), 0) << "neither camera sees them";
    EXPECT_LT(errors.at("rms_percent").get<double>(), 0.5);
}

/// A container keeps the standard deviations of its field, and a mean of two views is surer.
TEST_F(ModelSample, JoinsTheDeviationsOfAFurtherContainer) {
    const std::string sigma = "project/processing/uncertainty/";
    std::vector<std::string> known{"--set", sigma + "enable=1",
                                   "--set", sigma + "noise=entered",
                                   "--set", sigma + "noise_relative=0.01"};
    const auto with = [&known](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), known.begin(), known.end());
        return arguments;
    };
    output_of(with({"run", in("s/project_2.xml"), "--save-project", in("s/second.ims")}));
    const auto joined = [&](const std::string& views) {
        output_of(
            with({"run", in("s/project.xml"), "--set", "roject/processing/resection/views=" + views,
                  "--save-mesh", in("sure.vtp"), "--force"}));
        return mesh("sure.vtp");
    };
    const field_data<double> both = joined("second.ims");
    const field_data<double> alone = joined("");
    const auto random = values(both, "sigma_random");
    const auto of_one = values(alone, "sigma_random");
    const auto views = values(both, "views");
    const auto pressure = values(both, "P");
    double share = 0;
    double count = 0;
    for (std::size_t i = 0; i < random.size(); ++i) {
        EXPECT_EQ(std::isnan(random[i]), std::isnan(pressure[i])) << i;
        if (views[i] != 2 || std::isnan(of_one[i])) continue;
        share += random[i] / of_one[i];
        ++count;
    }
    EXPECT_GT(count, 2000);
    EXPECT_GT(share / count, 0.5);
    EXPECT_LT(share / count, 0.95);
    EXPECT_EQ(values(both, "sigma_common").size(), pressure.size());
    // A field in a file of its own has none beside it.
    output_of({"run", in("s/project_2.xml"), "--save-field", "--force"});
    EXPECT_FALSE(joined("project_2.xml").find("sigma_common"));
}

/// The picture of the model as its camera sees it lies on the camera's own field; other sides and
/// wrong requests.
TEST_F(ModelSample, IsDrawn) {
    const auto draw = [&](std::vector<std::string> more) {
        std::vector<std::string> arguments{"render3d", in("point.vtp"), in("model.png"), "--force"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run_program(arguments);
    };
    EXPECT_EQ(draw({"--view", "camera:1", "--no-light"}).status, 0);
    const std::string picture = get_file(in("model.png"));
    EXPECT_EQ(picture.substr(16, 8), std::string("\0\0\1\xE0\0\0\1\x68", 8)) << "480 x 360";
    EXPECT_EQ(draw({"--azimuth", "-60", "--colour-bar", "--edges", "--size", "300x200"}).status, 0);
    EXPECT_EQ(draw({"--view", "camera:2"}).status, 2);
    EXPECT_EQ(draw({"--view", "behind"}).status, 2);
    EXPECT_EQ(draw({"--view", "top", "--azimuth", "3"}).status, 2);
    EXPECT_EQ(draw({"--quantity", "none"}).status, 2);
    EXPECT_EQ(draw({"--size", "90000x90000"}).status, 1);
}

TEST_F(ModelSample, IsTheSameOnOneThread) {
    output_of({"sample", in("one"), "--mesh", "--cameras", "2", "--size", "480x360", "--mesh-nodes",
               "16000", "--threads", "1"});
    for (const char* name : {"wind_off_2.tif", "wind_on.tif", "truth_mesh.vtp", "project_2.xml"})
        EXPECT_EQ(get_file(in("one/") + name), get_file(in("s/") + name)) << name;
    output_of({"run", in("s/project.xml"), "--save-mesh", in("one.vtp"), "--threads", "1"});
    EXPECT_EQ(get_file(in("one.vtp")), get_file(in("point.vtp")));
}

TEST_F(ModelSample, RefusesWhatItCannotMake) {
    for (const auto& [more, why] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"--mesh", "--binary"}, "excludes"},
             {{"--mesh", "--mesh-nodes", "7"}, "a mesh of 7 nodes: 500 to 5000000 are possible"},
             {{"--mesh", "--cameras", "3"}, "3 cameras: 1 or 2 are possible"},
             {{"--cameras", "2"}, "requires"}}) {
        std::vector<std::string> arguments{"sample", in("none")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramRun run = run_program(arguments);
        EXPECT_EQ(run.status, 2);
        EXPECT_THAT(run.err, testing::HasSubstr(why));
    }
    const ProgramRun again = run_program({"sample", in("s"), "--mesh"});
    EXPECT_EQ(again.status, 1) << "files are there";
    const ProgramRun other = run_program({"compare", in("point.vtp"), in("s/truth.tif")});
    EXPECT_EQ(other.status, 1);
}

}  // namespace
}  // namespace vyn::test
