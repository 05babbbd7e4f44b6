#include "render/colour_map.h"

#include <limits>

#include <gtest/gtest.h>

namespace vyn {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

struct IndexCase {
    double minimum;
    double maximum;
    float value;
    bool background;
    bool in_roi;
    int index;
};

class ColourIndex : public testing::TestWithParam<IndexCase> {};

TEST_P(ColourIndex, OfTheRainbow) {
    const IndexCase& c = GetParam();
    const colour_map map(c.minimum, c.maximum, palette_array());
    EXPECT_EQ(map.index(c.value, c.background, c.in_roi), c.index);
    EXPECT_EQ(map.colour(c.value, c.background, c.in_roi),
              palette_array().entries[static_cast<std::size_t>(c.index)].argb());
}

// Worked out by hand from 10..137 (step (137 - 10) / range) and 139..202.
INSTANTIATE_TEST_SUITE_P(
    InLimits, ColourIndex,
    testing::Values(IndexCase{0, 1, 0, false, true, 10}, IndexCase{0, 1, 1, false, true, 137},
                    IndexCase{0, 1, 2, false, true, 137}, IndexCase{0, 1, -1, false, true, 10},
                    IndexCase{0, 1, 0.5F, false, true, 73}, IndexCase{-10, 10, 5, false, true, 105},
                    IndexCase{0, 1, 0.5F, true, true, 138}, IndexCase{0, 1, 0.5F, true, false, 203},
                    IndexCase{0, 2, 2, false, false, 202}, IndexCase{0, 2, 1, false, false, 170}));
// The least ranges: 0.00001 for the main ramp, 1 for the pale one.
INSTANTIATE_TEST_SUITE_P(
    LeastRanges, ColourIndex,
    testing::Values(IndexCase{0, 0, 0, false, true, 10},
                    IndexCase{0, 0, 0.00001F, false, true, 136},
                    IndexCase{0, 0, 0.000011F, false, true, 137},
                    IndexCase{5, 5, 5, false, true, 10}, IndexCase{5, 5, 6, false, true, 137},
                    IndexCase{0, 0.5, 0.5F, false, true, 137},
                    IndexCase{0, 0.5, 0.5F, false, false, 170}, IndexCase{3, 1, 3, false, true, 10},
                    IndexCase{3, 1, 4, false, true, 137}, IndexCase{3, 1, 2, false, true, 10}));
INSTANTIATE_TEST_SUITE_P(NoNumbers, ColourIndex,
                         testing::Values(IndexCase{0, 1, nan, false, true, 138},
                                         IndexCase{0, 1, nan, false, false, 203},
                                         IndexCase{0, 1, infinity, false, true, 137},
                                         IndexCase{0, 1, -infinity, false, false, 139},
                                         IndexCase{nan, nan, 1, false, true, 137},
                                         IndexCase{-infinity, infinity, 0, false, true, 73},
                                         IndexCase{infinity, 0, 1, false, true, 10}));

TEST(ColourMap, ARampThatRunsBackwardsIsNotHeldButStaysInThePalette) {
    palette_array palette;
    palette.last = 0;  // a file of 246 colours
    const colour_map map(0, 1, palette);
    EXPECT_EQ(map.index(0.5F, false, true), 5);
    EXPECT_EQ(map.index(-1, false, true), 20);
    EXPECT_EQ(map.index(2, false, true), 0);
    EXPECT_EQ(map.index(-infinity, false, true), 255);
}

TEST(ColourMap, FollowsLimitsAndPalette) {
    colour_map map;
    map.set_limits(0, 100);
    EXPECT_EQ(map.index(50, false, true), 73);
    map.set_palette(*find_palette("grey"));
    EXPECT_EQ(map.index(50, false, true), 84);  // 169 / 2
    EXPECT_EQ(map.index(50, true, true), 170);
    EXPECT_EQ(map.colour(100, false, true), 0xFFFFFFFFU);
}

}  // namespace
}  // namespace vyn
