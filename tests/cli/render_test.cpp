#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include "api/image_io.h"
#include "core/numbers.h"
#include "render/limits.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

struct Decoded {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;

    std::array<int, 3> at(int x, int y) const {
        const auto place = 3 * static_cast<std::size_t>(y * width + x);
        return {rgb[place], rgb[place + 1], rgb[place + 2]};
    }
};

Decoded decode(const std::filesystem::path& file) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&header, file.c_str()))
        throw std::runtime_error(header.message);
    header.format = PNG_FORMAT_RGB;
    Decoded picture{static_cast<int>(header.width), static_cast<int>(header.height), {}};
    picture.rgb.resize(PNG_IMAGE_SIZE(header));
    if (!png_image_finish_read(&header, nullptr, picture.rgb.data(), 0, nullptr))
        throw std::runtime_error(header.message);
    return picture;
}

class Render : public testing::Test {
  protected:
    Render() {
        register_plugins("*.2dio");
        const ProgramRun made = run_program({"sample", folder / "s", "--size", "80x64", "--quiet"});
        EXPECT_EQ(made.status, 0) << made.err;
        field = read_image(folder / "s/truth.tif");
    }

    ProgramRun render(std::vector<std::string> options) {
        options.insert(options.begin(), {"render", folder / "s/truth.tif", folder / "out.png"});
        return run_program(options);
    }

    TemporaryFolder folder;
    image field;
};

TEST_F(Render, DrawsTheField) {
    const ProgramRun run =
        render({"--palette", "grey", "--min", "70000", "--max", "100000", "--scale", "2"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const Decoded picture = decode(folder / "out.png");
    ASSERT_EQ(picture.width, 160);
    ASSERT_EQ(picture.height, 128);
    int shown = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 80; ++x) {
            const bool background = field.mask()(x, y) != 0;
            const std::array<int, 3> pixel = picture.at(2 * x + 1, 2 * y);
            if (background) {
                EXPECT_GT(pixel[2], pixel[0]);
                continue;
            }
            // 170 greys between the limits; the background is blueish.
            const int grey = static_cast<int>((field.values()(x, y) - 70000) / 30000 * 169) * 255;
            EXPECT_NEAR(pixel[0], grey / 169.0, 1) << x << " " << y;
            ++shown;
        }
    EXPECT_GT(shown, 1000);
    EXPECT_THAT(get_file(folder / "out.png"), HasSubstr("truth.tif"));
}

TEST_F(Render, FindsLimitsAndDrawsEverythingAskedFor) {
    Progress progress;
    const Limits robust = robust_limits(field, progress);
    ASSERT_EQ(render({}).status, 0);
    const std::string plain = get_file(folder / "out.png");
    const ProgramRun same = render({"--force", "--min", format_double(robust.minimum), "--max",
                                    format_double(robust.maximum)});
    ASSERT_EQ(same.status, 0) << same.err;
    const Decoded field_only = decode(folder / "out.png");
    put_file(folder / "plain.png", plain);
    EXPECT_EQ(decode(folder / "plain.png").rgb, field_only.rgb);

    // The colour bar says what the image holds, unless told otherwise.
    EXPECT_THAT(plain, testing::HasSubstr(R"("quantity":"Pressure, Pa")"));
    ASSERT_EQ(render({"--force", "--label", ""}).status, 0);
    EXPECT_THAT(get_file(folder / "out.png"), testing::HasSubstr(R"("quantity":"")"));

    put_file(folder / "my.lut", "t 1 0 0 1\n");
    const ProgramRun full =
        render({"--force", "--palette", folder / "my.lut", "--colour-bar", "--label", "P, Pa",
                "--title", "Wing", "--markers", folder / "s/wind_off.mrk"});
    ASSERT_EQ(full.status, 0) << full.err;
    EXPECT_GT(decode(folder / "out.png").width, field_only.width + 20);
    for (const auto& [name, head] : {std::pair{"out.svg", "<?xml"}, {"out.pdf", "%PDF"}}) {
        ASSERT_EQ(run_program({"render", folder / "s/truth.tif", folder / name}).status, 0);
        EXPECT_TRUE(get_file(folder / name).starts_with(head)) << name;
    }
}

TEST_F(Render, DrawsLevelsAndIsoLines) {
    ASSERT_EQ(render({"--palette", "grey", "--min", "70000", "--max", "100000", "--levels", "3",
                      "--invert", "--iso", "2"})
                  .status,
              0);
    const Decoded picture = decode(folder / "out.png");
    // Inverted greys of three levels of 10000 Pa: one pixel of the lowest and one of the highest.
    const auto grey_at = [&](int x, int y) { return picture.at(x, y)[0]; };
    int lowest = 0;
    int highest = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 80; ++x) {
            if (field.mask()(x, y) != 0) continue;
            lowest += field.values()(x, y) < 79000 && std::abs(grey_at(x, y) - 212) <= 1;
            highest += field.values()(x, y) > 91000 && std::abs(grey_at(x, y) - 42) <= 1;
        }
    EXPECT_GT(lowest, 20);
    EXPECT_GT(highest, 20);
    const std::string head = R"("iso_lines":[80000.0,90000.0])";
    EXPECT_THAT(get_file(folder / "out.png"), HasSubstr(head));
    const auto paths_of = [&](const std::vector<std::string>& more) {
        std::vector<std::string> arguments{
            "render", folder / "s/truth.tif", folder / "out.svg", "--force", "--scale", "4"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(run_program(arguments).status, 0);
        const std::string drawing = get_file(folder / "out.svg");
        std::size_t count = 0;
        for (std::size_t at = 0; (at = drawing.find("<path", at)) != std::string::npos; ++at)
            ++count;
        return count;
    };
    EXPECT_GT(paths_of({"--iso-step", "5000"}), paths_of({}) + 2) << "lines stay lines";
}

TEST_F(Render, DrawsDeviationsInPerCentAndHatches) {
    image sigma = field;
    sigma.quantity.deviation = true;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 80; ++x)
            sigma.values()(x, y) = (x < 40 ? 0.01F : 0.03F) * field.values()(x, y);
    const std::string file = folder / "sigma.imp";
    Progress progress;
    write_image(sigma, file, {}, progress);
    const ProgramRun run =
        run_program({"render", file, folder / "sigma.png", "--per-cent", folder / "s/truth.tif",
                     "--palette", "grey", "--min", "0", "--max", "4", "--hatch", file, "1500"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(get_file(folder / "sigma.png"),
                testing::AllOf(HasSubstr(R"("quantity":"SD of Pressure, %")"),
                               HasSubstr(R"("above":1500.0)")));
    const Decoded picture = decode(folder / "sigma.png");
    int left = 0;
    int left_other = 0;
    int right_other = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 80; ++x) {
            if (field.mask()(x, y) != 0) continue;
            const bool one_per_cent = std::abs(picture.at(x, y)[0] - 63) <= 2;
            left += x < 38;
            left_other += x < 38 && !one_per_cent;
            right_other += x >= 40 && std::abs(picture.at(x, y)[0] - 191) > 2;
        }
    EXPECT_GT(left, 500);
    EXPECT_EQ(left_other, 0) << "1 % everywhere, below 1500 Pa";
    EXPECT_GT(right_other, 200) << "3 %, hatched";

    const ProgramRun wrong =
        run_program({"render", folder / "s/truth.tif", folder / "wrong.png", "--per-cent", file});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_THAT(wrong.err, HasSubstr("no standard deviation"));
}

TEST_F(Render, RefusesWhatItCannotDo) {
    struct Case {
        std::vector<std::string> options;
        int status;
        const char* told;
    };
    put_file(folder / "bad.lut", "t 3 1 1 1\n");
    for (const Case& c :
         {Case{{"--palette", "mauve"}, 2, "viridis"},
          Case{{"--palette", folder / "bad.lut"}, 1, "bad.lut"},
          Case{{"--min", "5", "--max", "1"}, 2, "lower limit"},
          Case{{"--min", "1e9"}, 2, "lower limit"}, Case{{"--max", "inf"}, 2, "finite"},
          Case{{"--iso-step", "1e-3"}, 2, "200 lines"},
          Case{{"--iso", "3", "--iso-step", "5"}, 2, "--iso"},
          Case{{"--levels", "500"}, 2, "levels"}, Case{{"--scale", "0"}, 2, "scale"},
          Case{{"--image-markers"}, 2, "no markers"},
          Case{{"--hatch", folder / "s/truth.tif", "0"}, 2, "above 0"},
          Case{{"--hatch", folder / "absent.imp", "5"}, 1, "absent.imp"},
          Case{{"--markers", folder / "absent.mrk"}, 1, "absent.mrk"}}) {
        const ProgramRun run = render(c.options);
        EXPECT_EQ(run.status, c.status) << run.err;
        EXPECT_THAT(run.err, HasSubstr(c.told));
        EXPECT_FALSE(std::filesystem::exists(folder / "out.png"));
    }
    const ProgramRun other = run_program({"render", folder / "s/truth.tif", folder / "out.tif"});
    EXPECT_EQ(other.status, 2);
    EXPECT_THAT(other.err, HasSubstr("*.pdf"));
    put_file(folder / "out.png", "mine");
    EXPECT_EQ(render({}).status, 1);
    EXPECT_EQ(get_file(folder / "out.png"), "mine");
}

}  // namespace
}  // namespace vyn::test
