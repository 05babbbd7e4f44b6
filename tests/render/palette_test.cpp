#include "render/palette.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/errors.h"
#include "render/colour_map.h"
#include "render/palette_style.h"
#include "tests/support/error_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

using test::error_of;
using test::put_file;
using test::TemporaryFolder;

PaletteColour rgb(int red, int green, int blue) {
    return {static_cast<std::uint8_t>(blue), static_cast<std::uint8_t>(green),
            static_cast<std::uint8_t>(red), 0};
}

TEST(Palette, RainbowHasItsColoursAndPaleRamp) {
    const palette_array rainbow;
    EXPECT_EQ(rainbow.entries[10], rgb(254, 31, 255));
    EXPECT_EQ(rainbow.entries[34], rgb(31, 67, 255));
    EXPECT_EQ(rainbow.entries[73], rainbow.entries[74]);
    EXPECT_EQ(rainbow.entries[137], rgb(255, 31, 31));
    EXPECT_EQ(rainbow.entries[138], rgb(255, 255, 255));
    EXPECT_EQ(rainbow.pale_first, 139);
    EXPECT_EQ(rainbow.pale_last, 202);
    EXPECT_EQ(rainbow.pale_over, 203);
    // Entry 10 lightened: 254 and 255 stay, 31 becomes 31 + 2 * 74.
    EXPECT_EQ(rainbow.entries[139], rgb(254, 179, 255));
    // The last pale colour is made of entry 10 + 2 * 63 = 136.
    EXPECT_EQ(rainbow.entries[202], rgb(255, 179, 179));
    EXPECT_EQ(lightened(rgb(0, 1, 255)), rgb(170, 169, 255));
}

TEST(Palette, OnlyARampOf128ColoursGetsItsPaleRampBuilt) {
    palette_array palette;
    palette.entries[139] = rgb(1, 2, 3);
    palette.last = 138;
    EXPECT_FALSE(palette.build_pale_ramp());
    EXPECT_EQ(palette.entries[139], rgb(1, 2, 3));
    palette.last = 137;
    EXPECT_TRUE(palette.build_pale_ramp());
    EXPECT_EQ(palette.entries[139], palette_array().entries[139]);
}

TEST(Palette, CopyTakesTheMainRampAndTheColourBehindIt) {
    palette_array source;
    source.entries[9] = source.entries[11] = source.entries[138] = source.entries[204] =
        rgb(7, 8, 9);
    palette_array target;
    target = source;
    EXPECT_EQ(target.entries[9], PaletteColour());
    EXPECT_EQ(target.entries[11], rgb(7, 8, 9));
    EXPECT_EQ(target.entries[138], rgb(7, 8, 9));
    EXPECT_EQ(target.entries[203], lightened(rgb(7, 8, 9)));
    EXPECT_EQ(target.entries[204], PaletteColour());
}

TEST(Palette, BuiltInOnesAreFoundAndSurviveCopying) {
    for (const char* name : {"rainbow", "grey", "viridis", "cividis", "Cp"}) {
        const palette_array* const palette = find_palette(name);
        ASSERT_NE(palette, nullptr) << name;
        const palette_array copy = *palette;
        EXPECT_EQ(get_palette_idx(copy), get_palette_idx(*palette)) << name;
        // Background cannot be taken for a value.
        for (int i = palette->first; i <= palette->last; ++i)
            EXPECT_NE(palette->entries[static_cast<std::size_t>(i)],
                      palette->entries[palette->over])
                << name << " " << i;
    }
    // Published end colours, of viridis within what the fit gives.
    const palette_array& viridis = *find_palette("viridis");
    EXPECT_NEAR(viridis.entries[viridis.first].red, 68, 4);
    EXPECT_NEAR(viridis.entries[viridis.last].green, 231, 4);
    EXPECT_EQ(find_palette("Cp")->entries[0], rgb(5, 48, 97));
    EXPECT_EQ(find_palette("Cp")->entries[169], rgb(103, 0, 31));
    palette_array unknown;
    unknown.name = "unknown";
    EXPECT_EQ(get_palette_idx(unknown), -1);
}

std::string lut_text(int count, int triples) {
    std::string text = "title\n" + std::to_string(count) + "\n";
    for (int i = 0; i < triples; ++i)
        text += "0.5 " + std::to_string(i % 10) + "e-1\t1\n";
    return text;
}

struct LutCase {
    int count;
    int triples;
    int last;
    bool pale_is_rebuilt;
    PaletteColour top;  ///< entry `last`
};

class Lut : public testing::TestWithParam<LutCase> {};

TEST_P(Lut, CountsItsColoursInEightBits) {
    const LutCase& c = GetParam();
    const TemporaryFolder folder;
    put_file(folder / "my.lut", lut_text(c.count, c.triples));
    const palette_array palette = read_lut(folder / "my.lut");
    EXPECT_EQ(palette.name, "my.lut");
    EXPECT_EQ(palette.file_name, (folder / "my.lut").string());
    EXPECT_EQ(palette.first, 10);
    EXPECT_EQ(palette.last, c.last);
    EXPECT_EQ(palette.over, 138);
    EXPECT_EQ(palette.entries[static_cast<std::size_t>(c.last)], c.top);
    const PaletteColour first = rgb(127, 0, 255);
    EXPECT_EQ(palette.entries[139] == lightened(first), c.pale_is_rebuilt);
    if (c.triples > 3) {
        EXPECT_EQ(palette.entries[13], rgb(127, 76, 255));  // 0.3 * 255 = 76.5
    }
    // A copy is no different.
    EXPECT_EQ(palette_array(palette), palette);
}

// The ramp ends one past the last colour read: on the rainbow's red, on its white, ...
INSTANTIATE_TEST_SUITE_P(Counts, Lut,
                         testing::Values(LutCase{127, 127, 137, true, rgb(255, 31, 31)},
                                         LutCase{128, 128, 138, false, rgb(255, 255, 255)},
                                         LutCase{3, 3, 13, false, palette_array().entries[13]},
                                         LutCase{0, 0, 10, false, palette_array().entries[10]},
                                         LutCase{245, 245, 255, false, PaletteColour()},
                                         LutCase{246, 0, 0, false,
                                                 PaletteColour()},  // 256 is 0 in 8 bits
                                         LutCase{-5, 0, 5, false, PaletteColour()},
                                         LutCase{256 + 127, 127, 137, true, rgb(255, 31, 31)}));

TEST(Lut, BrokenFilesAreRefusedByName) {
    const TemporaryFolder folder;
    const auto refusal = [&](const std::string& content) {
        put_file(folder / "bad.lut", content);
        return error_of<FileError>([&] { read_lut(folder / "bad.lut"); }, content.substr(0, 40));
    };
    for (const std::string& content :
         {std::string(), std::string("title"), std::string("title many"),
          std::string("title 99999999999999 1 1 1"), lut_text(5, 4), std::string("t 1 1 1 x"),
          std::string("t 1 nan 0 0"), std::string("t 1 0 0 128"), std::string("t 1 0,5 0 0")}) {
        const FileError error = refusal(content);
        EXPECT_STREQ(error.text, "File error!");
        EXPECT_STREQ(error.file, "palette");
        EXPECT_THAT(error.detail, testing::HasSubstr("bad.lut"));
    }
    EXPECT_THROW(read_lut(folder.path()), FileError);
    EXPECT_THROW(read_lut(folder / "absent.lut"), FileError);
}

/// What a value is shown as must be the colour of the level that it lies in, to the last bit at the
/// borders, inside the region and outside.
TEST(StyledPalette, LevelsAreEquallyWideAndInverted) {
    for (const palette_array& palette : get_palette_list()) {
        const colour_map smooth(0, 1000, palette);
        const colour_map inverted(0, 1000, styled(palette, {.inverted = true}));
        for (const bool in_roi : {true, false}) {
            EXPECT_EQ(inverted.colour(0, false, in_roi), smooth.colour(1000, false, in_roi))
                << palette.name;
            EXPECT_EQ(inverted.colour(0, true, in_roi), smooth.colour(0, true, in_roi));
        }
        for (const int levels : {1, 2, 10, most_palette_levels}) {
            const colour_map cut(0, levels, styled(palette, {.levels = levels}));
            const colour_map back(0, levels, styled(palette, {.inverted = true, .levels = levels}));
            for (int i = 0; i < levels; ++i) {
                const auto low = static_cast<float>(i);
                const float high = i + 1 == levels ? low + 1 : std::nextafter(low + 1, 0.0F);
                EXPECT_EQ(cut.colour(low, false, true), cut.colour(high, false, true));
                EXPECT_EQ(cut.colour(low, false, true),
                          back.colour(static_cast<float>(levels - i) - 0.5F, false, true));
                if (i > 0 && levels == 10) {
                    EXPECT_NE(cut.colour(low, false, true), cut.colour(low - 0.01F, false, true));
                }
            }
            EXPECT_EQ(cut.colour(0, true, false), smooth.colour(0, true, false));
            EXPECT_EQ(cut.palette().name, palette.name);
        }
    }
}

}  // namespace
}  // namespace vyn
