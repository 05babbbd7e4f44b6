#include <cstdio>
#include <limits>

#include <gmock/gmock.h>
#include <png.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"
#include "tests/support/error_of.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

struct PngSpec {
    const char* label;
    int depth;
    int colour = PNG_COLOR_TYPE_GRAY;
    int interlace = PNG_INTERLACE_NONE;
    int transparent = -1;  ///< grey value that counts as transparent
};

/// Rows of whole bytes as the file holds them; depths below 8 are given one sample per byte.
void make_png(const std::filesystem::path& file, const PngSpec& spec, int width,
              const std::vector<std::vector<png_byte>>& rows) {
    std::FILE* stream = std::fopen(file.c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, stream);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(rows.size()),
                 spec.depth, spec.colour, spec.interlace, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_color_16 grey{};
    grey.gray = static_cast<png_uint_16>(spec.transparent);
    if (spec.transparent >= 0) png_set_tRNS(png, info, nullptr, 0, &grey);
    std::vector<png_color> palette(2);
    if (spec.colour == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette.data(), 2);
    std::vector<png_bytep> pointers;
    for (const auto& row : rows)
        pointers.push_back(const_cast<png_bytep>(row.data()));
    png_set_rows(png, info, pointers.data());
    png_write_png(png, info, PNG_TRANSFORM_PACKING, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(stream);
}

int grey_at(const PngSpec& spec, int x, int y) {
    return (x * 2999 + y * 7001) % (1 << spec.depth);
}

bool is_clear(int x, int y) {
    return (x + y) % 3 == 0;
}

std::vector<std::vector<png_byte>> rows_of(const PngSpec& spec, int width, int height) {
    std::vector<std::vector<png_byte>> rows(static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            auto& row = rows[static_cast<std::size_t>(y)];
            const auto put = [&](int sample) {
                if (spec.depth == 16) row.push_back(static_cast<png_byte>(sample >> 8));
                row.push_back(static_cast<png_byte>(sample & 0xFF));
            };
            put(grey_at(spec, x, y));
            if (spec.colour == PNG_COLOR_TYPE_GRAY_ALPHA) put(is_clear(x, y) ? 0 : 1 + x);
            if (spec.colour == PNG_COLOR_TYPE_RGB) put(1), put(2);
        }
    return rows;
}

class PngSamples : public testing::TestWithParam<PngSpec> {};

TEST_P(PngSamples, AreReadAndTransparentOnesExcluded) {
    const PngSpec& spec = GetParam();
    TemporaryFolder folder;
    const auto file = folder / "frame.png";
    constexpr int width = 19;
    constexpr int height = 11;
    make_png(file, spec, width, rows_of(spec, width, height));
    const image picture = read_image(file);
    ASSERT_EQ(picture.width(), width);
    ASSERT_EQ(picture.height(), height);
    EXPECT_EQ(picture.full_scale, spec.depth == 16 ? 65535 : 255);
    const int stretch = spec.depth < 8 ? 255 / ((1 << spec.depth) - 1) : 1;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int grey = grey_at(spec, x, y);
            const bool clear = spec.colour == PNG_COLOR_TYPE_GRAY_ALPHA ? is_clear(x, y)
                                                                        : grey == spec.transparent;
            EXPECT_EQ(picture.values()(x, y), static_cast<float>(grey * stretch));
            EXPECT_EQ(picture.mask()(x, y), clear) << x << ", " << y;
        }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, PngSamples,
    testing::Values(PngSpec{"g1", 1}, PngSpec{"g2", 2}, PngSpec{"g4", 4}, PngSpec{"g8", 8},
                    PngSpec{"g16", 16},
                    PngSpec{"g16_interlaced", 16, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_ADAM7},
                    PngSpec{"alpha8", 8, PNG_COLOR_TYPE_GRAY_ALPHA},
                    PngSpec{"alpha16_interlaced", 16, PNG_COLOR_TYPE_GRAY_ALPHA,
                            PNG_INTERLACE_ADAM7},
                    PngSpec{"g4_transparent_value", 4, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, 7}),
    label_of());

TEST(PngReading, RefusesColour) {
    TemporaryFolder folder;
    for (const PngSpec& spec :
         {PngSpec{"", 8, PNG_COLOR_TYPE_RGB}, PngSpec{"", 1, PNG_COLOR_TYPE_PALETTE}}) {
        make_png(folder / "colour.png", spec, 4, rows_of(spec, 4, 4));
        EXPECT_THAT(refusal(folder / "colour.png"), HasSubstr("colour"));
    }
}

/// Values that are in range, out of range, and half way between two counts; the last is excluded.
image line_of_values(int height = 1) {
    const std::vector<float> values{-3.f, -0.4f, 0.f, 1.5f, 65535.4f, 65536.f, 1e30f, 700.f};
    image picture(static_cast<int>(values.size()), height);
    picture.values().fill(5);
    picture.name = "line";
    std::ranges::copy(values, picture.values().row(0));
    picture.mask()(7, 0) = 1;
    return picture;
}

std::vector<float> counts_in(const std::filesystem::path& file) {
    const image back = read_image(file);
    EXPECT_EQ(back.full_scale, 65535);
    return {back.values().row(0), back.values().row(0) + back.width()};
}

TEST(PngWriting, RoundsAndClipsAndSaysHowMany) {
    TemporaryFolder folder;
    const auto file = folder / "line.png";
    const LogCapture log;
    EXPECT_THAT(test::error_of<FileError>([&] { write_image(line_of_values(), file); }).detail,
                HasSubstr("3 of 7 values do not fit"));
    write_image(line_of_values(100), file);
    EXPECT_THAT(counts_in(file), testing::ElementsAre(0, 0, 0, 2, 65535, 65535, 65535, 0));
    EXPECT_THAT(log.lines(), Contains(HasSubstr("'line': 3 pixels clipped")));
}

/// Counts are whole numbers, however little they differ; a field loses what makes it one.
TEST(PngWriting, RefusesWhatWholeNumbersDoNotHold) {
    TemporaryFolder folder;
    const auto written = [&](Quantity::Kind kind, float from, float step) {
        image picture(40, 40);
        picture.quantity.kind = kind;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x)
                picture.values()(x, y) = from + step * static_cast<float>(x + y);
        try {
            write_image(picture, folder / "f.png");
            return true;
        } catch (const FileError& error) {
            EXPECT_THAT(error.detail, HasSubstr("convert --scale"));
            return false;
        }
    };
    using Kind = Quantity::Kind;
    EXPECT_TRUE(written(Kind::raw_counts, 308, 0.05F));
    EXPECT_FALSE(written(Kind::cp, -0.5F, 0.01F));
    EXPECT_FALSE(written(Kind::pressure, 70, 0.3F));  // kPa
    EXPECT_FALSE(written(Kind::pressure, 90000, 10));
    EXPECT_TRUE(written(Kind::pressure, 30000, 10.25F));
    EXPECT_TRUE(written(Kind::value, 0, 1));
}

TEST(PngWriting, StretchesValidValuesAndKeepsTheirRange) {
    TemporaryFolder folder;
    const auto file = folder / "line.png";
    image picture = line_of_values();
    picture.mask()(6, 0) = 1;
    picture.values()(5, 0) = std::numeric_limits<float>::quiet_NaN();
    const LogCapture log;
    write_image(picture, file, {ImageWriteOptions::Scale::stretch, R"({"a": 1})"});
    const auto counts = counts_in(file);
    EXPECT_EQ(counts[0], 1);
    EXPECT_EQ(counts[4], 65535);
    EXPECT_NEAR(counts[3], 1 + 4.5 / 65538.4 * 65534, 0.5);
    EXPECT_EQ(counts[5], 0);
    EXPECT_EQ(counts[7], 0);
    EXPECT_THAT(log.lines(), Contains(HasSubstr("values -3 to 65535.3984375 stretched")));
    const std::string bytes = get_file(file);
    EXPECT_THAT(bytes, HasSubstr("1 = -3, 65535 = 65535.3984375"));
    EXPECT_THAT(bytes, HasSubstr(R"({"a":1})"));
}

}  // namespace
}  // namespace vyn::test
