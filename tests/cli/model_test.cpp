#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "api/lens.h"
#include "core/numbers.h"
#include "process/point/marker_io.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

std::string output_of(const std::vector<std::string>& arguments) {
    const ProgramRun run = run_program(arguments);
    EXPECT_EQ(run.status, 0) << run.err;
    return run.out;
}

/// A curved body in front of the sample's camera, in model axes that are turned and shifted: a
/// place for every ideal pixel.
class BodyOfSample : public testing::Test {
  protected:
    BodyOfSample() {
        register_plugins("*.2dio");
        std::filesystem::create_directory(sample_);
        output_of({"sample", sample_, "--size", "320x240"});
        const auto setting = [&](const std::string& name) {
            const std::string text =
                output_of({"get", sample_ / "project.xml", "project/sens_cam/" + name});
            return parse_double(text.substr(text.find('=') + 1)).value_or(0);
        };
        lens_ = {setting("cx"), setting("cy"), setting("a2"), setting("a4")};
        for (const auto& [name, value] :
             std::vector<std::pair<std::string, std::string>>{{"focus", "20"},
                                                              {"dx", "0.02"},
                                                              {"dy", "0.02"},
                                                              {"ncx", "320"},
                                                              {"ncy", "240"},
                                                              {"nfx", "320"},
                                                              {"nfy", "240"}})
            camera_.insert(camera_.end(), {"--set", "project/sens_cam/" + name + "=" + value});
        write_markers();
        write_mesh();
    }

    /// Turned by atan(3/4) about x; focal length 1000 px; mm.
    std::array<double, 3> place(Point ideal) const {
        const double z = 1000 + 60 * std::sin(ideal.x / 40) * std::cos(ideal.y / 50);
        const double x = (ideal.x - lens_.cx) / 1000 * z - 10;
        const double y = (ideal.y - lens_.cy) / 1000 * z - 20;
        return {x, 0.8 * y + 0.6 * (z - 900), -0.6 * y + 0.8 * (z - 900)};
    }
    static std::string line(const std::array<double, 3>& p) {
        return format_double(p[0]) + " " + format_double(p[1]) + " " + format_double(p[2]) + "\n";
    }
    void write_markers() const {
        std::string text;
        for (const Marker& marker : read_marker_file(sample_ / "wind_off.mrk", 240).markers)
            text += line(place(ideal_position(lens_, {marker.x, marker.y})));
        put_file(folder_ / "m.apm", text);
    }
    /// A node at every eighth pixel; the faces point to the camera.
    void write_mesh() {
        std::string text;
        for (int y = 0; y < 240; y += 8)
            for (int x = 0; x < 320; x += 8) {
                text += "v " + line(place({double(x), double(y)}));
                nodes_.push_back({double(x), double(y)});
            }
        for (int j = 0; j + 1 < 30; ++j)
            for (int i = 0; i + 1 < 40; ++i) {
                const int a = 40 * j + i + 1;
                text += "f " + std::to_string(a) + " " + std::to_string(a + 40) + " " +
                        std::to_string(a + 41) + " " + std::to_string(a + 1) + "\n";
            }
        put_file(folder_ / "model.obj", text);
    }
    std::string run_point(const std::string& target, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{
            "run",         sample_ / "project.xml", "--mesh",      folder_ / "model.obj",
            "--markers3d", folder_ / "m.apm",       "--save-mesh", folder_ / target};
        arguments.insert(arguments.end(), camera_.begin(), camera_.end());
        arguments.insert(arguments.end(), more.begin(), more.end());
        return output_of(arguments);
    }
    /// The column of values of a saved table; NaN where the place is empty.
    std::vector<double> values_in(const std::string& name, std::size_t column) const {
        std::istringstream text(get_file(folder_ / name));
        std::vector<double> values;
        std::string row;
        std::getline(text, row);
        while (std::getline(text, row)) {
            std::size_t at = 0;
            for (std::size_t c = 0; c < column; ++c)
                at = row.find(',', at) + 1;
            values.push_back(
                parse_double(row.substr(at, row.find(',', at) - at)).value_or(std::nan("")));
        }
        return values;
    }

    TemporaryFolder folder_;
    std::filesystem::path sample_ = folder_ / "s";
    Distortion lens_;
    std::vector<std::string> camera_;
    std::vector<Point> nodes_;
};

/// From camera pictures to pressure at nodes, a section and loads, by the batch program alone.
TEST_F(BodyOfSample, GetsItsPressuresSectionsAndLoads) {
    run_point("a.vtp", {"--save", "field_P=" + std::string(folder_ / "field.imp"), "--report",
                        folder_ / "r.json"});
    output_of({"mesh", "convert", folder_ / "a.vtp", folder_ / "a.csv"});
    const auto report = nlohmann::json::parse(get_file(folder_ / "r.json"));
    const auto& view = report.at("resection").at("views").at(0);
    EXPECT_LT(view.at("rms_px").get<double>(), 2e-3) << "six digits of marker files";
    EXPECT_NEAR(view.at("R").at(4).get<double>(), 0.8, 1e-4);
    EXPECT_NEAR(view.at("t").at(2).get<double>(), 900, 0.2);

    const image field = read_image(folder_ / "field.imp");
    const std::vector<double> p = values_in("a.csv", 4);
    ASSERT_EQ(p.size(), nodes_.size());
    std::size_t seen = 0;
    double squares = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const int x = int(nodes_[i].x);
        const int y = int(nodes_[i].y);
        if (std::isnan(p[i])) continue;
        ++seen;
        if (field.mask()(x, y) != 0) continue;
        const double error = p[i] - double(field.values()(x, y));
        squares += error * error;
    }
    EXPECT_GT(seen, p.size() / 3);
    EXPECT_LT(seen, p.size()) << "the model does not fill the picture";
    double low = 1e300;
    double high = -1e300;
    for (const double value : p) {
        if (std::isnan(value)) continue;
        low = std::min(low, value);
        high = std::max(high, value);
    }
    // Means over 8 x 8 pixels against the pixel in the middle.
    EXPECT_LT(std::sqrt(squares / double(seen)), 0.02 * (high - low));

    EXPECT_THAT(output_of({"section", folder_ / "a.vtp", "--plane", "x=0", "--out",
                           folder_ / "section.csv"}),
                HasSubstr("section 1  chord "));
    EXPECT_GT(values_in("section.csv", 7).size(), 20u);
    const auto loads =
        nlohmann::json::parse(output_of({"loads", folder_ / "a.vtp", "--area", "1", "--chord", "1",
                                         "--span", "1", "--about", "0,0,0"}));
    const auto& sum = loads.at("patches").back();
    EXPECT_EQ(sum.at("patch"), "sum");
    EXPECT_GT(sum.at("covered_share").get<double>(), 0.2);
    EXPECT_LT(sum.at("covered_share").get<double>(), 1.0);

    run_point("b.vtp", {"--threads", "1"});
    EXPECT_EQ(get_file(folder_ / "a.vtp"), get_file(folder_ / "b.vtp"));
}

/// The parts one by one give the nodes of the whole run; the camera file carries the record.
TEST_F(BodyOfSample, IsReachedInParts) {
    // Pixels on the border of two nodes' shares go to either, as rounding has it.
    const std::string sampling = "roject/processing/resection/sampling=point";
    run_point("a.csv",
              {"--save", "field_P=" + std::string(folder_ / "field.imp"), "--set", sampling});
    put_file(folder_ / "c.ini", "");
    std::filesystem::copy_file(sample_ / "camera.ini", folder_ / "c.ini",
                               std::filesystem::copy_options::overwrite_existing);
    std::string ini = get_file(folder_ / "c.ini");
    const auto set = [&](const std::string& key, const std::string& value) {
        const auto at = ini.find("\n" + key + "=");
        ASSERT_NE(at, std::string::npos) << key;
        const auto end = ini.find('\n', at + 1);
        ini.replace(at + 1, end - at - 1, key + "=" + value);
    };
    for (const auto& [key, value] :
         std::vector<std::pair<std::string, std::string>>{{"focus", "20"},
                                                          {"dx", "0,02"},
                                                          {"dy", "0,02"},
                                                          {"ncx", "320"},
                                                          {"ncy", "240"},
                                                          {"nfx", "320"},
                                                          {"nfy", "240"}})
        set(key, value);
    put_file(folder_ / "c.ini", ini);
    const std::string dots = sample_ / "wind_off.mrk";
    output_of({"resect", "--markers3d", folder_ / "m.apm", "--view", folder_ / "c.ini", dots,
               "--report", folder_ / "pose.json", "--accept", folder_ / "c2.ini"});
    output_of({"project", "--mesh", folder_ / "model.obj", "--poses", folder_ / "pose.json",
               "--view", folder_ / "field.imp", folder_ / "c.ini", dots, "--set", sampling,
               "--save", folder_ / "b.csv", "--save", folder_ / "b.dat"});
    const std::vector<double> whole = values_in("a.csv", 4);
    const std::vector<double> parts = values_in("b.csv", 4);
    ASSERT_EQ(parts.size(), whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_EQ(std::isnan(parts[i]), std::isnan(whole[i]));
        if (!std::isnan(parts[i])) {
            EXPECT_NEAR(parts[i], whole[i], 1e-6 * whole[i]);
        }
    }
    EXPECT_THAT(output_of({"mesh", "check", folder_ / "b.dat"}), HasSubstr("1 pieces, 0 closed"));
    EXPECT_THAT(output_of({"mesh", "info", folder_ / "b.dat"}), HasSubstr("\"P\""));
    EXPECT_TRUE(std::filesystem::exists(folder_ / "c2.ini"));
}

TEST_F(BodyOfSample, RefusesWhatCannotBe) {
    const auto refused = [](const std::vector<std::string>& arguments, int status,
                            const std::string& why) {
        const ProgramRun run = run_program(arguments);
        EXPECT_EQ(run.status, status);
        EXPECT_THAT(run.err, HasSubstr(why));
    };
    refused(
        {"run", sample_ / "project.xml", "--set", "project/sens_cam/focus=0", "--mesh",
         folder_ / "model.obj", "--markers3d", folder_ / "m.apm", "--save-mesh", folder_ / "a.csv"},
        1, "the camera cannot be used");
    refused({"run", sample_ / "project.xml", "--mesh", folder_ / "model.obj", "--markers3d",
             sample_ / "wind_off.mrk"},
            1, "these are image markers");
    refused({"section", folder_ / "model.obj", "--plane", "y=1", "--out", folder_ / "a.csv"}, 2,
            "the mesh has no values");
    refused({"loads", folder_ / "model.obj", "--area", "0"}, 2, "above 0");
    refused({"mesh", "convert", folder_ / "model.obj", folder_ / "a.obj"}, 1,
            "no plug-in for this extension");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.csv"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.obj"));
}

}  // namespace
}  // namespace vyn::test
