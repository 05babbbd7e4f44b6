#include <cmath>

#include <gmock/gmock.h>

#include "api/image_io.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

/// The same with a pattern of values that no frame shares with another.
void make_frame(const TemporaryFolder& folder, const image& picture, int number) {
    image frame = picture;
    for (int y = 0; y < frame.height(); ++y)
        for (int x = 0; x < frame.width(); ++x)
            frame.values()(x, y) += static_cast<float>((x * 7 + y * 3 + number * 5) % 11);
    write_image(frame, folder / ("s/off_" + std::to_string(number) + ".tif"));
}

TEST(SeveralFiles, OfOnePictureAreTheirAverageAndDecideOnTheResult) {
    register_plugins("*.2dio");
    const TemporaryFolder folder;
    ASSERT_EQ(run_program({"sample", folder / "s", "--size", "200x160", "--quiet"}).status, 0);
    const image picture = read_image(folder / "s/wind_off.tif");
    for (const int number : {1, 2, 10})
        make_frame(folder, picture, number);
    const auto run = [&](const std::string& picture_name, const std::string& method,
                         const std::string& result) {
        return run_program({"run", folder / "s/project.xml", "--quiet", "--force", "--set",
                            "project/test_point/wind_off_sens_file=" + picture_name, "--set",
                            "project/processing/files/average=" + method, "--save",
                            "field_P=" + (folder / result).string()});
    };
    for (const std::string method : {"mean", "median"}) {
        const ProgramRun averaged =
            run_program({"average", folder / "s/average.imp", folder / "s/off_*.tif", "--method",
                         method, "--force"});
        ASSERT_EQ(averaged.status, 0) << averaged.err;
        for (const char* together : {"off_*.tif", "off_10.tif;off_1.tif;off_2.tif"}) {
            const ProgramRun several = run(together, method, "several.imp");
            ASSERT_EQ(several.status, 0) << several.err;
            ASSERT_EQ(run("average.imp", "mean", "one.imp").status, 0);
            const image one = read_image(folder / "one.imp");
            const image field = read_image(folder / "several.imp");
            for (int y = 0; y < one.height(); ++y)
                for (int x = 0; x < one.width(); ++x)
                    ASSERT_TRUE(one.values()(x, y) == field.values()(x, y) ||
                                std::isnan(one.values()(x, y)))
                        << method << ' ' << x << ' ' << y;
        }
    }
    const auto stamp = [&] {
        EXPECT_EQ(run("off_*.tif", "mean", "several.imp").status, 0);
        for (const auto& [item, value] : read_image(folder / "several.imp").origin)
            if (item.ends_with("wind_off_sens > file")) return value;
        return std::string();
    };
    const std::string before = stamp();
    EXPECT_THAT(before, HasSubstr("off_*.tif, "));
    make_frame(folder, picture, 3);
    EXPECT_NE(stamp(), before) << "another frame, another result";

    make_frame(folder, picture, 4);
    std::filesystem::resize_file(folder / "s/off_4.tif", 100);
    EXPECT_THAT(run("off_*.tif", "mean", "several.imp").err, HasSubstr("off_4.tif"));
    EXPECT_THAT(run("on_*.tif", "mean", "several.imp").err, HasSubstr("on_*.tif: no such file"));
}

}  // namespace
}  // namespace vyn::test
