#include <cmath>
#include <limits>
#include <optional>
#include <thread>

#include <fitsio.h>
#include <gmock/gmock.h>

#include "core/errors.h"
#include "core/version.h"
#include "tests/plugins/sample_files.h"

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
};

/// Raw pixels as they stand in the file, before scale and zero.
void make_fits(const std::filesystem::path& file, const FitsSpec& spec, std::vector<long> sides,
               std::vector<double> raw) {
    std::filesystem::remove(file);
    int status = 0;
    fitsfile* fits = nullptr;
    fits_create_diskfile(&fits, file.c_str(), &status);
    if (spec.behind_no_picture) fits_create_img(fits, BYTE_IMG, 0, nullptr, &status);
    fits_create_img(fits, spec.type, static_cast<int>(sides.size()), sides.data(), &status);
    if (!raw.empty())
        fits_write_img(fits, TDOUBLE, 1, static_cast<LONGLONG>(raw.size()), raw.data(), &status);
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
    write_image(example_image(), file, {{}, "{\"k\": \"" + note + "\u00e9\"}"});
    const std::string bytes = get_file(file);
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
