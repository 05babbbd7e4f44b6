#include "render/picture.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include "api/tecplot.h"
#include "core/errors.h"
#include "render/figure_file.h"
#include "tests/support/error_of.h"
#include "tests/support/full_disk.h"
#include "tests/support/picture_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

using test::error_of;
using test::get_file;
using test::put_file;
using test::TemporaryFolder;

image two_pixels() {
    image picture(2, 1);
    picture.values()(0, 0) = 0.1F;
    picture.values()(1, 0) = std::numeric_limits<float>::quiet_NaN();
    return picture;
}

TEST(Tecplot, HoldsHeaderAndOneLinePerPixel) {
    const TemporaryFolder folder;
    Progress progress;
    image picture = two_pixels();
    write_tecplot(picture, "My field", folder / "f.dat", progress);
    EXPECT_EQ(get_file(folder / "f.dat"),
              "TITLE=\"My field\"\n"
              "VARIABLES =\"x\" \"y\" \"i\" \"b\"\n"
              "ZONE T=\"My field\" I=2,J=1,K=1,F=POINT\n"
              "DT=(DOUBLE DOUBLE DOUBLE DOUBLE \n"
              "0 0 0.1 0\n"
              "1 0 0 1\n");

    picture.displacement.emplace();
    picture.displacement->u = Bitmap<float>(2, 1, -1.5F);
    picture.displacement->v = Bitmap<float>(2, 1, 1e-7F);
    picture.values()(1, 0) = -4e20F;
    picture.mask()(1, 0) = 3;
    write_tecplot(picture, "a \"v\"", folder / "f.dat", progress);
    EXPECT_EQ(get_file(folder / "f.dat"),
              "TITLE=\"a 'v'\"\n"
              "VARIABLES =\"x\" \"y\" \"i\" \"u\" \"v\"\"b\"\n"
              "ZONE T=\"a 'v'\" I=2,J=1,K=1,F=POINT\n"
              "DT=(DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE \n"
              "0 0 0.1 -1.5 1e-07 0\n"
              "1 0 -4e+20 -1.5 1e-07 1\n");

    picture.displacement.reset();
    image sigma(2, 1);
    sigma.values()(0, 0) = 0.25F;
    write_tecplot(picture, "s", folder / "f.dat", progress, &sigma);
    EXPECT_EQ(get_file(folder / "f.dat"),
              "TITLE=\"s\"\n"
              "VARIABLES =\"x\" \"y\" \"i\" \"sigma\" \"b\"\n"
              "ZONE T=\"s\" I=2,J=1,K=1,F=POINT\n"
              "DT=(DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE \n"
              "0 0 0.1 0.25 0\n"
              "1 0 -4e+20 0 1\n");
}

TEST(Tecplot, FailuresLeaveTheOldFile) {
    const TemporaryFolder folder;
    Progress progress;
    const FileError error = error_of<FileError>(
        [&] { write_tecplot(two_pixels(), "", folder / "absent/f.dat", progress); });
    EXPECT_STREQ(error.text, "Can't open file for writing!");
    EXPECT_STREQ(error.file, "Image_wgt");

    put_file(folder / "f.dat", "old");
    image incomplete = two_pixels();
    incomplete.drop_mask();
    EXPECT_STREQ(error_of<AlgoError>([&] {
                     write_tecplot(incomplete, "", folder / "f.dat", progress);
                 }).text,
                 "Algorithm error!");
    {
        const test::FullDisk full(4096);
        image large(100, 100);
        large.values().fill(1);
        EXPECT_THROW(write_tecplot(large, "", folder / "f.dat", progress), FileError);
    }
    EXPECT_EQ(get_file(folder / "f.dat"), "old");
}

/// Reads a PNG file's bytes by the PNG library.
RgbPicture decoded(const std::vector<std::byte>& bytes) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&header, bytes.data(), bytes.size()))
        throw std::runtime_error(header.message);
    header.format = PNG_FORMAT_RGB;
    RgbPicture picture;
    picture.width = static_cast<int>(header.width);
    picture.height = static_cast<int>(header.height);
    picture.rgb.resize(PNG_IMAGE_SIZE(header));
    if (!png_image_finish_read(&header, nullptr, picture.rgb.data(), 0, nullptr))
        throw std::runtime_error(header.message);
    return picture;
}

image waves(int width, int height) {
    return test::picture_of(width, height,
                            [](int x, int y) { return std::sin(0.07 * x) * std::cos(0.05 * y); });
}

TEST(Picture, IsWhatAPngReaderReads) {
    PictureOptions options;
    options.limits = {-1, 1};
    for (const auto& [width, height] : {std::pair{300, 200}, {1, 1}, {30000, 2}}) {
        const Figure figure = field_figure(waves(width, height), options);
        const RgbPicture picture = pixels_of(figure);
        EXPECT_EQ(picture.width, width);
        EXPECT_EQ(picture.height, height);
        EXPECT_EQ(decoded(png_bytes(figure)).rgb, picture.rgb);
    }
}

/// The colour of the rainbow for a value in -1..1.
testing::Matcher<const std::uint8_t*> is_colour_of(double value) {
    const auto index = static_cast<std::size_t>(10 + (value + 1) / 2 * 127);
    return testing::Truly([index](const std::uint8_t* pixel) {
        const PaletteColour colour = palette_array().entries[index];
        return pixel[0] == colour.red && pixel[1] == colour.green && pixel[2] == colour.blue;
    });
}

TEST(Picture, HoldsTheFieldAtItsScale) {
    image halves = test::picture_of(40, 20, [](int x, int) { return x < 20 ? -1 : 0; });
    PictureOptions options;
    options.limits = {-1, 1};
    for (const double scale : {0.3, 0.5, 1.0, 2.5}) {
        options.scale = scale;
        const RgbPicture picture = draw_picture(halves, options);
        EXPECT_EQ(picture.width, std::lround(40 * scale));
        EXPECT_EQ(picture.height, std::lround(20 * scale));
        EXPECT_THAT(picture.at(picture.width / 4, picture.height / 2), is_colour_of(-1));
        EXPECT_THAT(picture.at(picture.width - 1, 0), is_colour_of(0));
    }
    for (const double scale : {0.0, -1.0, std::nan(""), 1e9}) {
        options.scale = scale;
        EXPECT_THROW(draw_picture(halves, options), AlgoError) << scale;
    }
}

/// Number of pixels darker than mid-grey in a rectangle.
int dark_pixels(const RgbPicture& picture, int x0, int y0, int x1, int y1) {
    int dark = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) {
            const std::uint8_t* const pixel = picture.at(x, y);
            dark += pixel[0] + pixel[1] + pixel[2] < 3 * 128;
        }
    return dark;
}

TEST(Picture, ColourBarRunsFromMinimumBelowToMaximumAbove) {
    PictureOptions options;
    options.limits = {-1, 1};
    options.colour_bar = true;
    const image field = waves(200, 300);
    const RgbPicture picture = draw_picture(field, options);
    // Right of field and margins, about the middle of the bar.
    int x = 200 + 30;
    while (x < picture.width && *picture.at(x, 150) == 255)
        ++x;
    ASSERT_LT(x + 8, picture.width);
    x += 6;
    const int top = (picture.height - 300) / 2;
    EXPECT_THAT(picture.at(x, top + 1), is_colour_of(1));
    EXPECT_THAT(picture.at(x, top + 298), is_colour_of(-1));
    EXPECT_THAT(picture.at(x, top + 225), is_colour_of(-0.5));

    // Numbers stand right of it; a label and a title take more room and ink.
    EXPECT_GT(dark_pixels(picture, x + 15, 0, picture.width, picture.height), 50);
    options.label = "Pressure, Pa";
    options.title = "A title \xC3\xA9";
    const RgbPicture labelled = draw_picture(field, options);
    EXPECT_GT(labelled.width, picture.width);
    EXPECT_GT(labelled.height, picture.height);
    EXPECT_GT(dark_pixels(labelled, 0, 0, labelled.width, labelled.height - picture.height), 40);
}

TEST(Picture, MarkersAreRingsAboutTheirPlaces) {
    image field(100, 80);
    field.values().fill(1);
    field.markers.markers = {
        {.x = 50, .y = 40, .id = 7}, {.x = std::nan(""), .y = 1e300}, {.x = -500, .y = 3}};
    PictureOptions options;
    options.limits = {-1, 1};
    options.palette = *find_palette("grey");
    options.scale = 4;
    options.markers = true;
    const RgbPicture picture = draw_picture(field, options);
    EXPECT_EQ(dark_pixels(picture, 200, 160, 205, 165), 0);  // its centre stays
    for (const auto& [dx, dy] : {std::pair{-1, 0}, {0, 1}, {0, -1}}) {
        int dark = 0;
        for (int r = 3; r < 16; ++r)
            dark += dark_pixels(picture, 202 + dx * r, 162 + dy * r, 203 + dx * r, 163 + dy * r);
        EXPECT_GE(dark, 1) << dx << " " << dy;
    }
    EXPECT_EQ(dark_pixels(picture, 0, 0, 150, 320), 0);
}

/// A patch of pixels above the limit is hatched and nothing else is, in pictures of any scale.
TEST(Picture, HatchesWhatIsAboveTheLimit) {
    image field(60, 40);
    field.values().fill(0);
    auto sigma = std::make_shared<image>(
        test::picture_of(60, 40, [](int x, int) { return x < 20 ? 5 : 3; }));
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 8; ++x)
            sigma->mask()(x, y) = 1;
    PictureOptions options;
    options.limits = {-1, 1};
    for (const double scale : {1.0, 5.0}) {
        options.scale = scale;
        options.hatching = {};
        const RgbPicture plain = draw_picture(field, options);
        options.hatching = {sigma, 4};
        const RgbPicture hatched = draw_picture(field, options);
        int changed = 0;
        for (int y = 0; y < plain.height; ++y)
            for (int x = 0; x < plain.width; ++x) {
                if (std::equal(plain.at(x, y), plain.at(x, y) + 3, hatched.at(x, y))) continue;
                ++changed;
                // A pen's width beyond the patch.
                ASSERT_GE(x, 8 * scale - 3) << scale;
                ASSERT_LE(x, 20 * scale + 3) << scale;
            }
        const double share = changed / (12 * 40 * scale * scale);
        EXPECT_GT(share, 0.2) << scale;
        EXPECT_LT(share, 0.7) << scale;
    }
    options.hatching = {std::make_shared<image>(7, 7), 4};
    EXPECT_THROW(draw_picture(field, options), IndexError);
}

TEST(Picture, IsoLinesAreDrawnWhereTheirValuesAre) {
    const image ramp = test::picture_of(60, 40, [](int x, int) { return x; });
    PictureOptions options;
    options.limits = {0, 60};
    options.scale = 10;
    const RgbPicture plain = draw_picture(ramp, options);
    options.iso_levels = {20, 40};
    options.iso_labels = false;
    const RgbPicture lined = draw_picture(ramp, options);
    const auto differs = [&](const RgbPicture& a, const RgbPicture& b, int x, int y) {
        return !std::equal(a.at(x, y), a.at(x, y) + 3, b.at(x, y));
    };
    for (const int y : {30, 200, 370})
        for (int x = 0; x < 600; ++x) {
            // Value 20 lies in the middle of its pixel.
            const bool near = std::abs(x - 205) <= 3 || std::abs(x - 405) <= 3;
            if (!near) {
                ASSERT_FALSE(differs(plain, lined, x, y)) << x;
            }
            if (x == 204 || x == 404) {
                EXPECT_TRUE(differs(plain, lined, x, y)) << x;
            }
        }
    options.iso_labels = true;
    const RgbPicture numbered = draw_picture(ramp, options);
    EXPECT_TRUE(differs(lined, numbered, 204, 200)) << "its number stands in the middle";
}

}  // namespace
}  // namespace vyn
