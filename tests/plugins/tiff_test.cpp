#include <cmath>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <tiffio.h>

#include "core/errors.h"
#include "core/version.h"
#include "tests/plugins/sample_files.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A picture of one row.
Numbers row(const std::vector<double>& values) {
    return {static_cast<int>(values.size()), 1,
            [&](int x, int) { return values[static_cast<std::size_t>(x)]; }};
}

/// Samples that fill the range of an integer type, both ends included, or fractions with NaN and
/// infinity. Odd sizes, so that packed rows and tiles end in the middle.
Numbers pattern(const TiffSpec& spec) {
    return {37, 21, [&](int x, int y) {
                const int i = x * 7 + y * 13;
                if (spec.format == SAMPLEFORMAT_IEEEFP)
                    return i % 50 == 0 ? nan : i % 50 == 1 ? -infinity : (i - 200) * 0.25;
                const double range = std::ldexp(1.0, spec.bits) - 1;
                const double value = std::floor(range * ((i % 64) / 63.0));
                return spec.format == SAMPLEFORMAT_INT ? value - (range + 1) / 2 : value;
            }};
}

class TiffSamples : public testing::TestWithParam<TiffSpec> {};

TEST_P(TiffSamples, AreReadExactly) {
    const TiffSpec& spec = GetParam();
    TemporaryFolder folder;
    const auto file = folder / "frame.tif";
    const Numbers stored = pattern(spec);
    make_tiff(file, {{spec, stored}});
    const image picture = read_image(file);

    const double range = std::ldexp(1.0, spec.bits) - 1;
    const double largest = spec.format == SAMPLEFORMAT_IEEEFP ? 0
                           : spec.format == SAMPLEFORMAT_INT  ? (range - 1) / 2
                                                              : range;
    const Numbers seen(stored.width, stored.height, [&](int x, int y) {
        const double value = stored.at(x, y);
        return spec.photometric == PHOTOMETRIC_MINISWHITE ? largest - value : value;
    });
    expect_picture(picture, seen);
    EXPECT_EQ(picture.name, "frame");
    EXPECT_EQ(picture.file_name, file.string());
    EXPECT_EQ(picture.full_scale, largest);
    ASSERT_EQ(picture.saturated != nullptr, largest > 0);
    for (int y = 0; largest > 0 && y < seen.height; ++y)
        for (int x = 0; x < seen.width; ++x)
            EXPECT_EQ((*picture.saturated)(x, y), seen.at(x, y) == largest);
}

constexpr int uint = SAMPLEFORMAT_UINT;
constexpr int sint = SAMPLEFORMAT_INT;
constexpr int real = SAMPLEFORMAT_IEEEFP;
constexpr int none = COMPRESSION_NONE;

INSTANTIATE_TEST_SUITE_P(
    Kinds, TiffSamples,
    testing::Values(TiffSpec{"u8", 8, uint}, TiffSpec{"u12", 12, uint}, TiffSpec{"u10", 10, uint},
                    TiffSpec{"u16", 16, uint}, TiffSpec{"u32", 32, uint}, TiffSpec{"s8", 8, sint},
                    TiffSpec{"s16", 16, sint}, TiffSpec{"s32", 32, sint},
                    TiffSpec{"half", 16, real}, TiffSpec{"float", 32, real},
                    TiffSpec{"double", 64, real}, TiffSpec{"u16_big_endian", 16, uint, "wb"},
                    TiffSpec{"float_big_endian", 32, real, "wb"},
                    TiffSpec{"u12_big_endian", 12, uint, "wb"},
                    TiffSpec{"u12_other_fill_order", 12, uint, "w", none, 0, PHOTOMETRIC_MINISBLACK,
                             0, FILLORDER_LSB2MSB},
                    TiffSpec{"u16_bigtiff", 16, uint, "w8"},
                    TiffSpec{"double_bigtiff_big_endian", 64, real, "wb8"},
                    TiffSpec{"u16_tiles", 16, uint, "w", none, 16},
                    TiffSpec{"u12_tiles", 12, uint, "w", none, 16},
                    TiffSpec{"float_deflate_tiles_big_endian", 32, real, "wb",
                             COMPRESSION_ADOBE_DEFLATE, 32},
                    TiffSpec{"u16_lzw_predictor", 16, uint, "w", COMPRESSION_LZW, 0,
                             PHOTOMETRIC_MINISBLACK, PREDICTOR_HORIZONTAL},
                    TiffSpec{"float_deflate_predictor", 32, real, "w", COMPRESSION_ADOBE_DEFLATE, 0,
                             PHOTOMETRIC_MINISBLACK, PREDICTOR_FLOATINGPOINT},
                    TiffSpec{"u8_packbits", 8, uint, "w", COMPRESSION_PACKBITS},
                    TiffSpec{"u12_white_is_zero", 12, uint, "w", none, 0, PHOTOMETRIC_MINISWHITE}),
    label_of());

TEST(TiffBurst, AveragesFiniteFramesIn64BitAndSkipsThumbnails) {
    TemporaryFolder folder;
    const auto file = folder / "burst.tif";
    const TiffSpec whole{"", 32, uint};
    const TiffSpec fraction{"", 32, real};
    // Sums of such numbers would lose their last bits in 32-bit floating point.
    const auto frame = [](double add) {
        return Numbers(5, 4, [add](int x, int y) { return 16777215.0 - x - 10 * y + add; });
    };
    make_tiff(file, {{whole, frame(0)},
                     {whole, row({9}), FILETYPE_REDUCEDIMAGE},
                     {whole, frame(-1)},
                     {whole, frame(-5)}});
    const LogCapture log;
    expect_picture(read_image(file), frame(-2));
    EXPECT_THAT(log.lines(), Contains(HasSubstr("average of 3 frames")));
    make_tiff(file, {{fraction, row({1, nan, 3})}, {fraction, row({3, nan, infinity})}});
    expect_picture(read_image(file), row({2, nan, 3}));
}

TEST(TiffBurst, MarksWhatWasSaturatedInAnyFrameAndRefusesFramesThatDiffer) {
    TemporaryFolder folder;
    const TiffSpec bytes{"", 8, uint};
    make_tiff(folder / "burst.tif", {{bytes, row({255, 10})}, {bytes, row({20, 20})}});
    const image picture = read_image(folder / "burst.tif");
    ASSERT_TRUE(picture.saturated);
    EXPECT_EQ((*picture.saturated)(0, 0), 1);
    EXPECT_EQ((*picture.saturated)(1, 0), 0);

    const Numbers turned(1, 2, [](int, int y) { return y; });
    make_tiff(folder / "size.tif", {{TiffSpec{}, row({0, 1})}, {TiffSpec{}, turned}});
    make_tiff(folder / "type.tif", {{TiffSpec{}, row({0, 1})}, {bytes, row({0, 1})}});
    for (const char* name : {"size.tif", "type.tif"})
        EXPECT_THAT(refusal(folder / name), HasSubstr("another size or pixel type"));
}

std::function<void(TIFF*)> describing(const char* text) {
    return [text](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, text); };
}

TEST(TiffStacks, AreCalibratedAndNoBurstsUnlessAskedFor) {
    TemporaryFolder folder;
    const auto file = folder / "stack.tif";
    const TiffSpec spec{};
    make_tiff(file, {{spec, row({0, 32768, 65535}), 0,
                      describing("ImageJ=1.54f\nunit=pixel\ncf=0\nc0=-32768.0\nc1=1.0\n"
                                 "vunit=Gray Value\n")}});
    const image picture = read_image(file);
    expect_picture(picture, row({-32768, 0, 32767}));
    EXPECT_EQ(picture.full_scale, 32767);
    EXPECT_EQ(picture.unit, "");
    make_tiff(file,
              {{spec, row({2}), 0, describing("ImageJ=1.54f\ncf=0\nc0=1\nc1=0.5\nvunit=kPa\n")}});
    EXPECT_EQ(read_image(file).values()(0, 0), 2);
    EXPECT_EQ(read_image(file).unit, "kPa");
    make_tiff(file, {{spec, row({2}), 0, describing("ImageJ=1.54f\ncf=3\nc0=1\nc1=0.5\n")}});
    EXPECT_THAT(refusal(file), HasSubstr("no straight line"));

    const char* stacks[]{"ImageJ=1.54f\nimages=2\nchannels=2\n",
                         "ImageJ=1.54f\nimages=2\nslices=2\n",
                         "<?xml version=\"1.0\"?><OME><Image><Pixels SizeC=\"1\" SizeZ=\"2\"/>"};
    for (const char* text : stacks) {
        make_tiff(file, {{spec, row({2, 4}), 0, describing(text)}, {spec, row({4, 8})}});
        EXPECT_THAT(refusal(file), HasSubstr("no burst of one view"));
        Progress silent;
        expect_picture(read_image(file, {.stacks = ImageReadOptions::Stacks::averaged}, silent),
                       row({3, 6}));
    }
    make_tiff(file, {{spec, row({2, 4}), 0, describing("ImageJ=1.54f\nimages=2\nframes=2\n")},
                     {spec, row({4, 8})}});
    expect_picture(read_image(file), row({3, 6}));
}

/// A file as ImageJ writes stacks: one directory, then the frames one behind the other.
std::string one_page_stack(bool big, const std::string& text, const std::vector<int>& pixels) {
    const auto number = [big](std::size_t value, std::size_t bytes) {
        std::string result(bytes, '\0');
        for (std::size_t i = 0; i < bytes; ++i)
            result[big ? bytes - 1 - i : i] = static_cast<char>(value >> 8 * i & 0xff);
        return result;
    };
    constexpr std::size_t behind_directory = 8 + 2 + 10 * 12 + 4;
    const auto entry = [&](std::size_t tag, std::size_t type, std::size_t count,
                           std::size_t value) {
        const std::size_t bytes = type == 3 ? 2 : 4;
        std::string field = number(value, bytes);
        field.resize(4, '\0');
        return number(tag, 2) + number(type, 2) + number(count, 4) + field;
    };
    std::string file =
        std::string(big ? "MM" : "II") + number(42, 2) + number(8, 4) + number(10, 2) +
        entry(256, 3, 1, 2) + entry(257, 3, 1, 1) + entry(258, 3, 1, 16) + entry(259, 3, 1, 1) +
        entry(262, 3, 1, 1) + entry(270, 2, text.size() + 1, behind_directory) +
        entry(273, 4, 1, behind_directory + text.size() + 1) + entry(277, 3, 1, 1) +
        entry(278, 3, 1, 1) + entry(279, 4, 1, 4) + number(0, 4) + text + std::string(1, '\0');
    for (const int pixel : pixels)
        file += number(static_cast<std::size_t>(pixel), 2);
    return file;
}

TEST(TiffStacks, OfOnePageHoldTheirFramesBehindIt) {
    TemporaryFolder folder;
    const auto file = folder / "stack.tif";
    const std::string text = "ImageJ=1.54f\nimages=3\nframes=3\n";
    for (const bool big : {false, true}) {
        put_file(file, one_page_stack(big, text, {1, 300, 2, 400, 3, 800}));
        const image picture = read_image(file);
        expect_picture(picture, row({2, 500}));
        ASSERT_TRUE(picture.frames);
        EXPECT_EQ(picture.frames->frames, 3);
        put_file(file, one_page_stack(big, text, {1, 300, 2, 400, 3}));
        EXPECT_THAT(refusal(file), HasSubstr("cut off"));
    }
    put_file(file, one_page_stack(false, "ImageJ=1.54f\nimages=2147483647\n", {1, 2}));
    EXPECT_THAT(refusal(file), HasSubstr("cut off"));
}

TEST(TiffTags, OrientationAlphaSensorBitsAndMissingDataAreHonoured) {
    TemporaryFolder folder;
    const auto file = folder / "tags.tif";
    const Numbers stored(3, 2, [](int x, int y) { return x + 10 * y; });
    // What stands in the upper left and in the upper right corner.
    const std::pair<double, double> corners[]{{0, 2},  {2, 0},  {12, 10}, {10, 12},
                                              {0, 10}, {10, 0}, {12, 2},  {2, 12}};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        make_tiff(file, {{TiffSpec{}, stored, 0, [orientation](TIFF* tiff) {
                              TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
                          }}});
        const image picture = read_image(file);
        ASSERT_EQ(picture.width(), orientation < 5 ? 3 : 2);
        EXPECT_EQ(picture.values()(0, 0), corners[orientation - 1].first) << orientation;
        EXPECT_EQ(picture.values()(picture.width() - 1, 0), corners[orientation - 1].second)
            << orientation;
    }
    make_tiff(file, {{TiffSpec{}, row({5, 255, 6, 0, 7, 1}), 0, [](TIFF* tiff) {
                          const std::uint16_t kind = EXTRASAMPLE_UNASSALPHA;
                          TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 3);
                          TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 2);
                          TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
                      }}});
    expect_picture(read_image(file), row({5, nan, 7}));

    for (const auto& [largest, scale] : {std::pair{4095, 4095.0}, {4000, 65535.0}}) {
        make_tiff(file, {{TiffSpec{}, row({4095, 17}), 0, [largest = largest](TIFF* tiff) {
                              TIFFSetField(tiff, TIFFTAG_MAXSAMPLEVALUE, largest);
                          }}});
        const image picture = read_image(file);
        EXPECT_EQ(picture.full_scale, scale);
        EXPECT_EQ(picture.saturated != nullptr, scale == 4095);
    }
    static const TIFFFieldInfo no_data{42113,        -1, -1, TIFF_ASCII,
                                       FIELD_CUSTOM, 1,  0,  const_cast<char*>("GDAL_NODATA")};
    make_tiff(file, {{TiffSpec{"", 32, real}, row({-9999.5, 1, 2}), 0, [](TIFF* tiff) {
                          TIFFMergeFieldInfo(tiff, &no_data, 1);
                          TIFFSetField(tiff, no_data.field_tag, "-9999.5");
                      }}});
    expect_picture(read_image(file), row({nan, 1, 2}));
}

constexpr auto width = TIFFTAG_IMAGEWIDTH;
constexpr auto height = TIFFTAG_IMAGELENGTH;
constexpr auto bits = TIFFTAG_BITSPERSAMPLE;
constexpr auto kind = TIFFTAG_SAMPLEFORMAT;
constexpr auto colour = TIFFTAG_PHOTOMETRIC;
constexpr auto packing = TIFFTAG_COMPRESSION;
constexpr auto strip_rows = TIFFTAG_ROWSPERSTRIP;
const std::vector<std::pair<std::uint32_t, int>> sound{{width, 40},
                                                       {height, 30},
                                                       {bits, 8},
                                                       {TIFFTAG_SAMPLESPERPIXEL, 1},
                                                       {colour, PHOTOMETRIC_MINISBLACK},
                                                       {packing, COMPRESSION_NONE}};

struct Refused {
    const char* label;
    std::vector<std::pair<std::uint32_t, int>> tags;  ///< changes of a sound header
    const char* message;
};

class TiffRefusal : public testing::TestWithParam<Refused> {};

/// One page of 40 x 30 pixels of 8 bits in one strip, with a change.
TEST_P(TiffRefusal, NamesFileAndReason) {
    TemporaryFolder folder;
    const auto file = folder / "bad.tif";
    TIFF* tiff = TIFFOpen(file.c_str(), "w");
    for (const auto& tags : {sound, GetParam().tags})
        for (const auto& [tag, value] : tags)
            TIFFSetField(tiff, tag, value);
    std::vector<unsigned char> strip(40 * 30 * 3, 7);
    TIFFWriteRawStrip(tiff, 0, strip.data(), static_cast<tmsize_t>(strip.size()));
    TIFFClose(tiff);
    EXPECT_THAT(refusal(file), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, TiffRefusal,
    testing::Values(
        Refused{"rgb", {{TIFFTAG_SAMPLESPERPIXEL, 3}, {colour, PHOTOMETRIC_RGB}}, "colour"},
        Refused{"lab", {{colour, PHOTOMETRIC_CIELAB}}, "colour"},
        Refused{"signed_inverted", {{kind, sint}, {colour, PHOTOMETRIC_MINISWHITE}}, "white"},
        Refused{"24_bits", {{bits, 24}}, "24 bits"},
        Refused{"complex", {{bits, 64}, {kind, SAMPLEFORMAT_COMPLEXIEEEFP}}, "sample format 6"},
        Refused{"fax", {{bits, 1}, {packing, COMPRESSION_CCITTFAX4}}, "compression 4"},
        Refused{"thumbnail", {{TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE}}, "thumbnails"},
        Refused{"larger_than_the_file", {{height, 20000}}, "cut off"},
        Refused{"larger_than_its_strips", {{height, 240}, {strip_rows, 120}}, "not enough bytes"},
        Refused{"larger_than_it_can_unpack_to",
                {{width, 32768}, {height, 32768}, {packing, COMPRESSION_ADOBE_DEFLATE}},
                "not enough bytes"},
        Refused{"missing_strips", {{strip_rows, 10}}, "missing"},
        Refused{"too_wide", {{width, 70000}}, "too large"},
        Refused{"no_lzw_stream", {{packing, COMPRESSION_LZW}}, "cannot be decoded"}),
    label_of());

TEST(TiffWriting, DescribesItself) {
    TemporaryFolder folder;
    const auto file = folder / "field.tif";
    write_image(example_image(), file, {{}, "{\"input\": \"L\u00fcfter.tif\"}"});
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(file.c_str(), "r"), TIFFClose);
    const char* text = nullptr;
    ASSERT_TRUE(TIFFGetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &text));
    EXPECT_STREQ(text, R"({"input":"L\u00fcfter.tif"})");
    ASSERT_TRUE(TIFFGetField(tiff.get(), TIFFTAG_SOFTWARE, &text));
    EXPECT_EQ(text, std::string("VynLite ") + program_version);
}

}  // namespace
}  // namespace vyn::test
