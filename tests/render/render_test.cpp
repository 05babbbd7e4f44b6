#include "render/render.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "api/parallel.h"
#include "tests/support/picture_of.h"

namespace vyn {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

std::shared_ptr<const ImageLevels> levels_of(image picture) {
    return std::make_shared<const ImageLevels>(std::make_shared<const image>(std::move(picture)));
}

/// 3 x 2 pixels: values 0, 0.5, 1 / NaN, 2, -1, with one background and one outside the region.
image small_image() {
    const float values[2][3] = {{0, 0.5F, 1}, {nan, 2, -1}};
    image picture = test::picture_of(3, 2, [&](int x, int y) { return values[y][x]; });
    picture.mask()(2, 0) = 7;
    picture.fill_region(1);
    picture.region()(1, 0) = 0;
    return picture;
}

using Pixels = std::vector<std::uint32_t>;

Pixels rendered(const ViewSource& source, const ViewRectangle& rectangle,
                const colour_map& colours = colour_map(0, 1, palette_array())) {
    Pixels pixels(static_cast<std::size_t>(rectangle.width) *
                  static_cast<std::size_t>(rectangle.height));
    render(source, colours, rectangle, {pixels.data(), rectangle.width});
    return pixels;
}

std::uint32_t rainbow(std::size_t index) {
    return palette_array().entries[index].argb();
}

TEST(Render, PixelByPixel) {
    // One pixel of margin on every side; outside is background outside the region.
    const ViewRectangle rectangle{-1.5, -1.5, 1, 5, 4};
    const std::uint32_t out = rainbow(203);
    const Pixels expected{out, out,          out,          out,          out,  //
                          out, rainbow(10),  rainbow(170), rainbow(138), out,  // 139 + 0.5 * 63
                          out, rainbow(138), rainbow(137), rainbow(10),  out,  //
                          out, out,          out,          out,          out};
    EXPECT_EQ(rendered(FieldSource{levels_of(small_image())}, rectangle), expected);
}

TEST(Render, MagnifiedPixelsAreCrispSquares) {
    constexpr int zoom = 7;
    const FieldSource source{levels_of(small_image())};
    const Pixels plain = rendered(source, {-0.5, -0.5, 1, 3, 2});
    const Pixels magnified = rendered(source, {-0.5, -0.5, zoom, 3 * zoom, 2 * zoom});
    for (std::size_t y = 0; y < 2 * zoom; ++y)
        for (std::size_t x = 0; x < 3 * zoom; ++x)
            ASSERT_EQ(magnified[y * 3 * zoom + x], plain[y / zoom * 3 + x / zoom]) << x << " " << y;
    // A fraction of a pixel further: the first column is narrower.
    const Pixels shifted = rendered(source, {0.1, -0.5, 10, 10, 1});
    EXPECT_EQ(shifted[3], plain[0]);
    EXPECT_EQ(shifted[4], plain[1]);
}

TEST(Render, WithoutRegionPlaneEverythingIsInside) {
    image picture(2, 1);
    picture.values()(0, 0) = picture.values()(1, 0) = 0;
    EXPECT_EQ(rendered(FieldSource{levels_of(std::move(picture))}, {-0.5, -0.5, 1, 3, 1}),
              (Pixels{rainbow(10), rainbow(10), rainbow(203)}));
}

TEST(Render, DifferenceIsTakenPixelByPixel) {
    image other = small_image();
    for (int x = 0; x < 3; ++x)
        other.values()(x, 0) -= 0.5F;
    other.mask()(0, 1) = 0;
    other.mask()(1, 1) = 1;
    const DifferenceSource source{levels_of(small_image()), levels_of(std::move(other))};
    EXPECT_EQ(rendered(source, {-0.5, -0.5, 1, 3, 2}),
              (Pixels{rainbow(73), rainbow(170), rainbow(138),  //
                      rainbow(138), rainbow(138), rainbow(10)}));
    EXPECT_EQ(probe(source, 0, 0).value, 0.5F);
    EXPECT_TRUE(probe(source, 1, 1).background);

    // The second one is smaller.
    image single(1, 1);
    single.values()(0, 0) = -1;
    const DifferenceSource unequal{levels_of(small_image()), levels_of(std::move(single))};
    EXPECT_EQ(rendered(unequal, {-0.5, -0.5, 1, 2, 2}),
              (Pixels{rainbow(137), rainbow(203), rainbow(138), rainbow(138)}));
}

TEST(Render, ColourChannelsAreDrawnDirectly) {
    const auto channel = [](float a, float b) {
        image picture(2, 1);
        picture.values()(0, 0) = a;
        picture.values()(1, 0) = b;
        return levels_of(std::move(picture));
    };
    const ColourSource source{{channel(18.9F, 300), channel(52, -1), channel(nan, 254.99F)}};
    EXPECT_EQ(rendered(source, {-0.5, -0.5, 1, 3, 1}),
              (Pixels{0xFF123400U, 0xFFFF00FEU, 0xFF000000U}));
    EXPECT_EQ(rendered(ColourSource{{channel(1, 2), nullptr, nullptr}}, {-0.5, -0.5, 1, 2, 1}),
              (Pixels{0xFF010000U, 0xFF020000U}));
}

TEST(Render, ShownSmallPixelsAreMeansOfValidOnes) {
    image picture = test::picture_of(5, 4, [](int x, int) { return x; });
    picture.values()(0, 0) = nan;   // left out: the mean of 0, 1 and 1
    picture.values()(1, 1) = 1000;  // excluded
    picture.mask()(1, 1) = 1;
    for (const auto& [x, y] : {std::pair{2, 2}, {3, 2}, {2, 3}})
        picture.mask()(x, y) = 1;  // three of four: background
    picture.fill_region(1);
    picture.region()(4, 0) = 0;  // the single column at the edge: half of it
    const auto levels = levels_of(std::move(picture));

    EXPECT_EQ(levels->count(), 4);  // 5 x 4, 3 x 2, 2 x 1, 1 x 1
    const ImageLevels::Level half = levels->level(1);
    EXPECT_FLOAT_EQ((*half.values)(0, 0), 0.5F);
    EXPECT_FLOAT_EQ((*half.values)(1, 0), 2.5F);
    EXPECT_FLOAT_EQ((*half.values)(2, 1), 4);
    EXPECT_EQ((*half.mask)(0, 0), 0);
    EXPECT_EQ((*half.mask)(1, 1), 1);
    EXPECT_EQ((*half.region)(2, 0), 1);

    EXPECT_EQ(levels->level_for(1), 0);
    EXPECT_EQ(levels->level_for(0.51), 0);
    EXPECT_EQ(levels->level_for(0.5), 1);
    EXPECT_EQ(levels->level_for(0.25), 2);
    EXPECT_EQ(levels->level_for(0), 3);
    EXPECT_EQ(levels->level_for(std::nan("")), 3);
    const colour_map colours(0, 4, palette_array());
    EXPECT_EQ(
        rendered(FieldSource{levels}, {-0.5, -0.5, 0.5, 3, 2}, colours),
        (Pixels{colours.colour(0.5F, false, true), colours.colour(2.5F, false, true), rainbow(137),
                colours.colour(0.5F, false, true), rainbow(138), rainbow(137)}));
}

class OddSizes : public testing::TestWithParam<std::pair<int, int>> {};

/// An image of a screen pixel or more in length shows, however narrow it is, and nothing outside it
/// is read (the sanitizers watch).
TEST_P(OddSizes, AreShownAtEveryZoom) {
    const auto [width, height] = GetParam();
    image picture(width, height);
    picture.values().fill(1);
    const FieldSource source{levels_of(std::move(picture))};
    for (const double zoom : {1e-6, 0.0421, 1.0, 3.3, 1e9}) {
        const Pixels pixels = rendered(source, {-0.5, -0.5, zoom, 40, 30});
        const bool shows = std::max(width, height) * zoom >= 1;
        const bool ends = width * zoom < 38;
        EXPECT_EQ(pixels.front(), shows ? rainbow(137) : rainbow(203)) << zoom;
        EXPECT_EQ(pixels.back() == rainbow(203), ends || height * zoom < 28) << zoom;
    }
    for (const double place : {-1e300, 1e300, std::nan("")})
        EXPECT_EQ(rendered(source, {place, place, 1, 2, 2}), Pixels(4, rainbow(203)));
}

INSTANTIATE_TEST_SUITE_P(Sizes, OddSizes,
                         testing::Values(std::pair{1, 1}, std::pair{30000, 2}, std::pair{2, 999},
                                         std::pair{129, 65}));

TEST(Render, ThreadsAndInstructionSetsDoNotShowInThePixels) {
    image picture = test::picture_of(700, 500, [](int x, int y) { return std::sin(0.1 * x) * y; });
    picture.values()(30, 40) = nan;
    picture.mask()(31, 50) = 1;
    const auto draw = [&](int threads, const char* isa) {
        setenv("VYNLITE_ISA", isa, 1);
        const ThreadLimit limit(threads);
        return rendered(FieldSource{levels_of(picture)}, {3.3, -7, 0.37, 300, 200},
                        colour_map(-400, 400, palette_array()));
    };
    const Pixels pixels = draw(1, "base");
    for (const char* isa : {"base", "avx2", "avx512"})
        EXPECT_EQ(draw(4, isa), pixels) << isa;
    unsetenv("VYNLITE_ISA");
}

TEST(Probe, GivesPixelsVectorsAndDefaultsOutside) {
    image picture = small_image();
    picture.displacement.emplace();
    picture.displacement->step = 2;
    picture.displacement->u = Bitmap<float>(2, 1, 1);
    picture.displacement->v = Bitmap<float>(2, 1, -2);
    picture.displacement->u(1, 0) = 5;
    const FieldSource source{levels_of(std::move(picture))};
    EXPECT_FALSE(probe(source, 1, 0).in_roi);
    EXPECT_EQ(probe(source, 1, 0).value, 0.5F);
    EXPECT_TRUE(probe(source, 0, 1).background);  // NaN
    EXPECT_EQ(probe(source, 0, 0).u, 1);
    EXPECT_EQ(probe(source, 2, 0).u, 5);  // nearest node
    EXPECT_EQ(probe(source, 2, 1).v, -2);
    for (const auto& [x, y] : {std::pair{-1, 0}, {3, 0}, {0, 2}}) {
        const ProbedPixel outside = probe(source, x, y);
        EXPECT_TRUE(outside.background);
        EXPECT_FALSE(outside.in_roi);
        EXPECT_FALSE(outside.has_vectors);
    }
}

}  // namespace
}  // namespace vyn
