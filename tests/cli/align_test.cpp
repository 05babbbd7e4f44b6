#include <fstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "process/point/marker_io.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Align : public testing::Test {
  protected:
    Align() {
        register_plugins("*.2dio");
        const ProgramRun made = run_program(
            {"sample", folder / "s", "--size", "320x240", "--order", "1", "--bend", "--quiet"});
        EXPECT_EQ(made.status, 0) << made.err;
    }
    ProgramRun align(const std::string& off, const std::string& on,
                     std::vector<std::string> options) {
        options.insert(options.begin(), {"align", folder / "s" / off, folder / "s" / on});
        // The ground is darker than that.
        if (std::ranges::find(options, "--level") == options.end())
            options.insert(options.end(), {"--level", "3000"});
        return run_program(options);
    }
    nlohmann::json report() const { return nlohmann::json::parse(get_file(folder / "r.json")); }
    std::vector<std::string> markers() const {
        return {"--markers", folder / "s/wind_off.mrk", folder / "s/wind_on.mrk"};
    }
    static std::vector<std::string> joined(std::vector<std::string> a,
                                           const std::vector<std::string>& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }

    TemporaryFolder folder;
};

TEST_F(Align, TheAlignedImageLiesOnTheWindOffImage) {
    const ProgramRun both =
        align("wind_off.tif", "wind_on.tif",
              joined(markers(), {"--qped", "--out", folder / "s/aligned.tif", "--displacement",
                                 folder / "d.csv", "--report", folder / "r.json"}));
    ASSERT_EQ(both.status, 0) << both.err;
    EXPECT_GT(report()["correlation"]["left_after_markers_px"]["rms"], 0.5);
    EXPECT_EQ(report()["alignment"]["pair_count"], 12);
    EXPECT_THAT(get_file(folder / "d.csv"), StartsWith("x,y,u,v,sigma_u,sigma_v,measured\n0,0,"));

    const ProgramRun again =
        align("wind_off.tif", "aligned.tif", {"--qped", "--report", folder / "r.json", "--force"});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_LT(report()["correlation"]["median_displacement_px"], 0.02);
}

TEST_F(Align, WritesWhatTheMarkersSayAndWhatTheyLeave) {
    const auto largest = [&](std::vector<std::string> options) {
        const ProgramRun run = align(
            "wind_off.tif", "wind_on.tif",
            joined(joined(markers(), {"--displacement", folder / "d.imp", "--force"}), options));
        EXPECT_EQ(run.status, 0) << run.err;
        const image picture = read_image(folder / "d.imp");
        EXPECT_EQ(picture.width(), 320);
        EXPECT_TRUE(picture.displacement);
        float most = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                if (picture.mask()(x, y) == 0) most = std::max(most, picture.values()(x, y));
        return most;
    };
    EXPECT_GT(largest({}), 2.5F);
    EXPECT_GT(largest({"--qped"}), 3.0F);
    EXPECT_LT(largest({"--qped", "--relative"}), 2.5F);
    const ProgramRun map =
        align("wind_off.tif", "wind_on.tif", {"--qped", "--displacement", folder / "d.dat"});
    EXPECT_EQ(map.status, 0) << map.err;
    EXPECT_THAT(get_file(folder / "d.dat"), HasSubstr("ZONE T=\"wind_on.tif\" I=39,J=29,K=1"));
}

TEST_F(Align, RefusesMarkersThatDoNotAgree) {
    // The wind-off picture's markers, some moved: no mapping of order 0 takes them there.
    MarkerSet moved = read_marker_file(folder / "s/wind_off.mrk", 240);
    for (std::size_t i = 0; i < moved.markers.size(); ++i)
        moved.markers[i].x += i % 2 == 0 ? 6 : -6;
    write_marker_file(folder / "moved.mrk", moved);
    const std::vector<std::string> options{
        "--markers", folder / "s/wind_off.mrk", folder / "moved.mrk", "--order", "0",
        "--out",     folder / "o.tif"};
    const ProgramRun refused = align("wind_off.tif", "wind_off.tif", options);
    EXPECT_EQ(refused.status, 1) << refused.err;
    EXPECT_THAT(refused.err, HasSubstr("oorly aligned"));
    EXPECT_FALSE(std::filesystem::exists(folder / "o.tif"));
    EXPECT_EQ(align("wind_off.tif", "wind_off.tif", joined(options, {"--allow-unaligned"})).status,
              0);
}

TEST_F(Align, RefusesWhatCannotBeAndLeavesNothing) {
    struct Case {
        std::vector<std::string> options;
        int status;
        const char* says;
    };
    const Case cases[] = {
        {{}, 2, "--markers OFF.mrk ON.mrk, --qped or both"},
        {{"--qped", "--relative", "--displacement", folder / "o.imp"}, 2, "--relative"},
        {{"--qped", "--displacement", folder / "o.txt"}, 2, ".dat, .imp or .csv"},
        {{"--qped", "--cell", "1000", "--out", folder / "o.tif"}, 1, "cell of 1000 pixels"},
        {{"--qped", "--cell", "1", "--out", folder / "o.tif"}, 1, "not 1"},
        {{"--qped", "--step", "0", "--out", folder / "o.tif"}, 1, "step"},
        {{"--qped", "--iterations", "-1", "--out", folder / "o.tif"}, 1, "iterations"},
        {{"--qped", "--level", "1e9", "--out", folder / "o.tif"}, 1, "below the level"},
        {{"--qped", "--out", folder / "s/flat.tif"}, 1, "flat.tif"},
        {{"--qped", "--out", folder / "none/o.tif"}, 1, "none"},
        {{"--markers", folder / "s/wind_off.mrk", folder / "no.mrk"}, 1, "no.mrk"},
    };
    for (const Case& bad : cases) {
        const ProgramRun run = align("wind_off.tif", "wind_on.tif", bad.options);
        EXPECT_EQ(run.status, bad.status) << bad.says;
        EXPECT_THAT(run.err, HasSubstr(bad.says));
    }
    const ProgramRun bare = align("wind_off_dark.tif", "wind_on_dark.tif",
                                  {"--level", "0", "--qped", "--out", folder / "o.tif"});
    EXPECT_EQ(bare.status, 1);
    EXPECT_THAT(bare.err, HasSubstr("texture"));
    for (const char* file : {"o.tif", "o.imp", "o.txt"})
        EXPECT_FALSE(std::filesystem::exists(folder / file)) << file;
}

}  // namespace
}  // namespace vyn::test
