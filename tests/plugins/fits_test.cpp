#include <cmath>
#include <limits>
#include <optional>
#include <thread>

#include <fitsio.h>
#include <gmock/gmock.h>
#include <zlib.h>

#include "core/errors.h"
#include "core/version.h"
#include "tests/plugins/sample_files.h"
#include "tests/support/error_of.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

struct FitsSpec {
    const char* label;
    int type;  ///< BITPIX
    double scale = 1;
    double zero = 0;
    double full_scale = 0;
    std::optional<long> blank = {};  ///< raw value
    bool behind_no_picture = false;  ///< the primary array has no axes
    const char* row_order = nullptr;
    int compression = 0;  ///< RICE_1, GZIP_1, ...
};

/// Raw pixels as they stand in the file, before scale and zero.
void make_fits(const std::filesystem::path& file, const FitsSpec& spec, std::vector<long> sides,
               std::vector<double> raw) {
    std::filesystem::remove(file);
    int status = 0;
    fitsfile* fits = nullptr;
    fits_create_diskfile(&fits, file.c_str(), &status);
    if (spec.behind_no_picture) fits_create_img(fits, BYTE_IMG, 0, nullptr, &status);
    if (spec.compression) {
        fits_set_compression_type(fits, spec.compression, &status);
        fits_set_quantize_level(fits, 0, &status);  // lossless
    }
    fits_create_img(fits, spec.type, static_cast<int>(sides.size()), sides.data(), &status);
    if (spec.row_order)
        fits_update_key(fits, TSTRING, "ROWORDER", const_cast<char*>(spec.row_order), nullptr,
                        &status);
    const auto count = static_cast<LONGLONG>(raw.size());
    // Doubles are not packed as integers, and these in their own type only.
    const auto write_as = [&]<class T>(int type, T) {
        std::vector<T> whole(raw.begin(), raw.end());
        fits_write_img(fits, type, 1, count, whole.data(), &status);
    };
    if (spec.compression && spec.type == BYTE_IMG) {
        write_as(TBYTE, std::uint8_t{});
    } else if (spec.compression && spec.type == SHORT_IMG) {
        write_as(TSHORT, std::int16_t{});
    } else if (spec.compression && spec.type == LONG_IMG) {
        write_as(TINT, 0);
    } else if (!raw.empty()) {
        fits_write_img(fits, TDOUBLE, 1, count, raw.data(), &status);
    }
    double scale = spec.scale;
    double zero = spec.zero;
    if (scale != 1) fits_update_key(fits, TDOUBLE, "BSCALE", &scale, nullptr, &status);
    if (zero != 0) fits_update_key(fits, TDOUBLE, "BZERO", &zero, nullptr, &status);
    if (spec.blank) {
        long blank = *spec.blank;
        fits_update_key(fits, TLONG, "BLANK", &blank, nullptr, &status);
    }
    fits_close_file(fits, &status);
    ASSERT_EQ(status, 0) << file;
}

class FitsSamples : public testing::TestWithParam<FitsSpec> {};

TEST_P(FitsSamples, AreScaledAndBlankOnesExcluded) {
    const FitsSpec& spec = GetParam();
    TemporaryFolder folder;
    const auto file = folder / "frame.fit";
    const Numbers raw(9, 6, [](int x, int y) { return x + 10 * y; });
    make_fits(file, spec, {raw.width, raw.height}, raw.values);
    const image picture = read_image(file);
    const Numbers scaled(raw.width, raw.height, [&](int x, int y) {
        if (spec.blank && raw.at(x, y) == static_cast<double>(*spec.blank))
            return std::numeric_limits<double>::quiet_NaN();
        return raw.at(x, y) * spec.scale + spec.zero;
    });
    expect_picture(picture, scaled);
    EXPECT_EQ(picture.full_scale, spec.full_scale);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, FitsSamples,
    testing::Values(FitsSpec{"byte", BYTE_IMG, 1, 0, 255},
                    FitsSpec{"short", SHORT_IMG, 1, 0, 32767},
                    FitsSpec{"unsigned_short", SHORT_IMG, 1, 32768, 65535},
                    FitsSpec{"long", LONG_IMG, 1, 0, 2147483647.0},
                    FitsSpec{"longlong", LONGLONG_IMG, 1, 0, std::ldexp(1.0, 63)},
                    FitsSpec{"float", FLOAT_IMG}, FitsSpec{"double", DOUBLE_IMG},
                    FitsSpec{"scaled_short", SHORT_IMG, 0.25, -7.5},
                    FitsSpec{"blank_short", SHORT_IMG, 2, 100, 0, 32}),
    label_of());

TEST(FitsReading, TakesTheFirstImageWithAxesAndAveragesItsThird) {
    TemporaryFolder folder;
    const auto file = folder / "burst.fits";
    const double nan = std::numeric_limits<double>::quiet_NaN();
    FitsSpec spec{"", FLOAT_IMG};
    spec.behind_no_picture = true;
    make_fits(file, spec, {2, 2, 3}, {1, 2, nan, nan, 5, 6, 7, nan, 9, 10, 11, nan});
    const LogCapture log;
    // Row by row: (1 + 5 + 9) / 3, (2 + 6 + 10) / 3; (7 + 11) / 2, never finite.
    expect_picture(read_image(file), Numbers(2, 2, [&](int x, int y) {
                       return y == 0 ? 5.0 + x : x == 0 ? 9.0 : nan;
                   }));
    EXPECT_THAT(log.lines(), Contains(HasSubstr("average of 3 frames")));
}

TEST(FitsReading, RefusesWhatIsNoPicture) {
    TemporaryFolder folder;
    const std::tuple<std::vector<long>, std::vector<double>, const char*> cases[]{
        {{}, {}, "no picture"}, {{3}, {1, 2, 3}, "1 axes"}, {{1, 1, 1, 2}, {1, 2}, "4 axes"}};
    for (const auto& [sides, values, message] : cases) {
        make_fits(folder / "bad.fits", {"", BYTE_IMG}, sides, values);
        EXPECT_THAT(refusal(folder / "bad.fits"), HasSubstr(message));
    }
}

TEST(FitsReading, PutsTheFirstRowWhereFileOrReaderSay) {
    using FirstRow = ImageReadOptions::FirstRow;
    TemporaryFolder folder;
    const auto file = folder / "rows.fits";
    const std::tuple<const char*, FirstRow, bool> cases[]{{"TOP-DOWN", FirstRow::bottom, true},
                                                          {"BOTTOM-UP", FirstRow::top, false},
                                                          {nullptr, FirstRow::top, true},
                                                          {nullptr, FirstRow::bottom, false}};
    Progress silent;
    for (const auto& [order, option, top] : cases) {
        FitsSpec spec{"", SHORT_IMG};
        spec.row_order = order;
        make_fits(file, spec, {2, 3}, {1, 2, 3, 4, 5, 6});
        const LogCapture log;
        expect_picture(
            read_image(file, {.fits_first_row = option}, silent),
            Numbers(2, 3, [&top = top](int x, int y) { return 1 + x + 2 * (top ? y : 2 - y); }));
        EXPECT_EQ(log.lines().size(), order ? 0U : 1U);
    }
    // The program's own, before it wrote the keyword.
    write_image(example_image(), file);
    std::string bytes = get_file(file);
    const auto place = bytes.find("ROWORDER= 'TOP-DOWN'");
    ASSERT_NE(place, std::string::npos);
    bytes.replace(place, 8, "COMMENT ");
    put_file(file, bytes);
    EXPECT_EQ(read_image(file, {.fits_first_row = FirstRow::bottom}, silent).values()(2, 3),
              example_image().values()(2, 3));
}

TEST(FitsReading, UnpacksTilesAndGzip) {
    TemporaryFolder folder;
    const auto file = folder / "packed.fits";
    const Numbers raw(40, 30, [](int x, int y) { return x * y % 997; });
    for (const int type : {BYTE_IMG, SHORT_IMG, LONG_IMG, FLOAT_IMG})
        for (const int compression : {RICE_1, GZIP_1, GZIP_2}) {
            if (type == FLOAT_IMG && compression == RICE_1) continue;  // loses bits
            FitsSpec spec{"", type};
            spec.behind_no_picture = true;
            spec.compression = compression;
            const Numbers stored(40, 30, [&](int x, int y) {
                return type == BYTE_IMG ? std::fmod(raw.at(x, y), 256) : raw.at(x, y);
            });
            make_fits(file, spec, {40, 30}, stored.values);
            expect_picture(read_image(file), stored);
        }
    FitsSpec damaged{"", SHORT_IMG};
    damaged.compression = RICE_1;
    make_fits(file, damaged, {40, 30}, raw.values);
    const std::string sound = get_file(file);
    for (const char* card : {"ZVAL1   =                   32", "ZTILE2  =                    1"}) {
        const auto place = sound.find(card);
        ASSERT_NE(place, std::string::npos) << card;
        std::string changed = sound;
        changed.replace(place + 28, 2, " 0");
        put_file(file, changed);
        EXPECT_THAT(refusal(file), HasSubstr("hold no pixels"));
    }
    FitsSpec lossy{"", SHORT_IMG};
    lossy.compression = HCOMPRESS_1;
    make_fits(file, lossy, {40, 30}, raw.values);
    EXPECT_THAT(refusal(file), HasSubstr("HCOMPRESS_1 are not supported"));

    make_fits(file, {"", SHORT_IMG}, {40, 30}, raw.values);
    const std::string bytes = get_file(file);
    const auto packed = folder / "packed.fits.gz";
    const gzFile gzip = gzopen(packed.c_str(), "wb");
    gzwrite(gzip, bytes.data(), static_cast<unsigned>(bytes.size()));
    gzclose(gzip);
    expect_picture(read_image(packed), raw);
    const gzFile other = gzopen(packed.c_str(), "wb");
    gzwrite(other, "text", 4);
    gzclose(other);
    EXPECT_THAT(error_of<FileError>([&] { read_image(packed); }).what(), HasSubstr("not an image"));
}

TEST(FitsFiles, TakeTheirNamesAsTheyStand) {
    TemporaryFolder folder;
    for (const char* name : {"a[1].fits", "b.fits[x].fits", "c+1.fits", "d(e).fits", "~f.fits"}) {
        write_image(example_image(), folder / name);
        EXPECT_EQ(read_image(folder / name).width(), 7) << name;
        EXPECT_TRUE(std::filesystem::exists(folder / name)) << name;
    }
}

TEST(FitsWriting, DescribesItself) {
    TemporaryFolder folder;
    const auto file = folder / "field.fits";
    const std::string note(150, 'n');
    setenv("SOURCE_DATE_EPOCH", "1000000000", 1);
    write_image(example_image(), file, {{}, "{\"k\": \"" + note + "\u00e9\"}"});
    unsetenv("SOURCE_DATE_EPOCH");
    const std::string bytes = get_file(file);
    EXPECT_THAT(bytes, HasSubstr("ROWORDER= 'TOP-DOWN'"));
    EXPECT_THAT(bytes, HasSubstr("OBJECT  = 'example '"));
    EXPECT_THAT(bytes, HasSubstr("DATE    = '2001-09-09'"));
    EXPECT_THAT(bytes, HasSubstr("BITPIX  =                  -32 "));
    EXPECT_THAT(bytes, HasSubstr("CREATOR = 'VynLite " + std::string(program_version) + "'"));
    std::string history;
    for (std::size_t card = 0; bytes.compare(card, 8, "END     ") != 0; card += 80)
        if (bytes.compare(card, 8, "HISTORY ") == 0) history += bytes.substr(card + 8, 72);
    history.erase(history.find_last_not_of(' ') + 1);
    EXPECT_EQ(history, "{\"k\":\"" + note + "\\u00e9\"}");
}

TEST(FitsFiles, AreReadFromSeveralThreads) {
    TemporaryFolder folder;
    const auto file = folder / "field.fits";
    write_image(example_image(), file);
    std::vector<image> pictures(4);
    {
        std::vector<std::jthread> threads;
        for (auto& picture : pictures)
            threads.emplace_back([&] {
                for (int i = 0; i < 20; ++i)
                    picture = read_image(file);
            });
    }
    for (const auto& picture : pictures)
        EXPECT_EQ(picture.values()(2, 3), example_image().values()(2, 3));
}

}  // namespace
}  // namespace vyn::test
