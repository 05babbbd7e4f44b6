#include "align/correlation/cell_view.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/align/correlation/textured_pair.h"

namespace vyn::test {
namespace {

TEST(CellView, ShowsWhatTheSearchSees) {
    PairScene scene;
    scene.size = 160;
    scene.displacement = [](Point) { return Point{5.3, -2.6}; };
    scene.bare = [](Point p) { return p.x > 100; };
    scene.noise = 0.3;
    const TexturedPair pair = make_textured_pair(scene);

    const auto clear = view_cell(pair.off, pair.on, {61, 70}, {3.2, 0}, 16, 8);
    ASSERT_TRUE(clear);
    EXPECT_EQ(clear->verdict, PeakVerdict::clear);
    EXPECT_NEAR(clear->displacement.x, 5.3, 0.2);
    EXPECT_NEAR(clear->displacement.y, -2.6, 0.2);
    EXPECT_EQ(clear->cell.width(), 16);
    EXPECT_EQ(clear->window.width(), 32);
    EXPECT_EQ(clear->surface.width(), 17);
    EXPECT_GT(clear->surface(8 + 2, 8 - 3), 0.7F);

    const auto bare = view_cell(pair.off, pair.on, {128, 70}, {}, 16, 8);
    ASSERT_TRUE(bare);
    EXPECT_NE(bare->verdict, PeakVerdict::clear);
    const auto far = view_cell(pair.off, pair.on, {61, 70}, {-12, 0}, 16, 8);
    ASSERT_TRUE(far);
    EXPECT_NE(far->verdict, PeakVerdict::clear);

    EXPECT_FALSE(view_cell(pair.off, pair.on, {8, 8}, {}, 16, 8)) << "reaches out of the picture";
    image masked = pair.off;
    for (int y = 0; y < 160; ++y)
        std::fill_n(masked.mask().row(y), 160, std::uint8_t{1});
    EXPECT_FALSE(view_cell(masked, pair.on, {61, 70}, {}, 16, 8));
}

}  // namespace
}  // namespace vyn::test
