#include "api/pixel_ops.h"

#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include "tests/api/pictures.h"

namespace vyn {
namespace {

using test::row_of;

struct TwoImageCase {
    const char* name;
    std::function<void(image&, const image&)> operation;
    std::vector<float> expected;
    std::vector<std::uint8_t> expected_mask;
};

class TwoImages : public testing::TestWithParam<TwoImageCase> {};

// The columns: plain; divisor 0; first excluded; second excluded; NaN in the second.
TEST_P(TwoImages, ChangeValidPixelsOnly) {
    image a = row_of({8, 8, 8, 8, 8}, {0, 0, 7, 0, 0});
    const image b = row_of({2, 0, 2, 2, NAN}, {0, 0, 0, 3, 0});
    GetParam().operation(a, b);
    EXPECT_EQ(test::bits(a), test::bits(row_of(GetParam().expected, GetParam().expected_mask)));
}

INSTANTIATE_TEST_SUITE_P(
    Operations, TwoImages,
    testing::Values(TwoImageCase{"subtract", subtract, {6, 8, 8, 8, NAN}, {0, 0, 1, 1, 0}},
                    TwoImageCase{"multiply", multiply, {16, 0, 8, 8, NAN}, {0, 0, 1, 1, 0}},
                    TwoImageCase{"divide", divide, {4, 8, 8, 8, NAN}, {0, 1, 1, 1, 0}}),
    [](const auto& instance) { return instance.param.name; });

struct LevelCase {
    const char* name;
    std::function<void(image&, float)> operation;
    std::vector<float> expected;
    std::vector<std::uint8_t> expected_mask;
};

class Levels : public testing::TestWithParam<LevelCase> {};

// The columns: below, at and above the level 5; NaN; an excluded one on each side.
TEST_P(Levels, CompareStrictly) {
    image a = row_of({4, 5, 6, NAN, 4, 6}, {0, 0, 0, 0, 7, 7});
    GetParam().operation(a, 5);
    EXPECT_EQ(test::bits(a), test::bits(row_of(GetParam().expected, GetParam().expected_mask)));
}

INSTANTIATE_TEST_SUITE_P(
    Operations, Levels,
    testing::Values(
        LevelCase{"exclude_below", exclude_below, {4, 5, 6, NAN, 4, 6}, {1, 0, 0, 0, 7, 7}},
        LevelCase{"clamp_above", clamp_above, {4, 5, 5, NAN, 4, 6}, {0, 0, 0, 0, 7, 7}},
        LevelCase{"clamp_below", clamp_below, {5, 5, 6, NAN, 4, 6}, {0, 0, 0, 0, 7, 7}}),
    [](const auto& instance) { return instance.param.name; });

TEST(PixelOps, StayInsideTheRegion) {
    image a = row_of({8, 8, 8}, {0, 7, 0});
    Bitmap<std::uint8_t> region(3, 1, 0);
    region(2, 0) = 1;
    a.set_region(region);
    const image expected = [&a] {
        image picture = a;
        picture.values()(2, 0) = 4;
        return picture;
    }();
    divide(a, row_of({2, 2, 2}, {1, 1, 0}));
    exclude_below(a, 3);
    clamp_above(a, 4);
    clamp_below(a, 4);
    EXPECT_EQ(test::bits(a), test::bits(expected));
}

TEST(PixelOps, RefuseOtherShapesAndMissingPlanesUnchanged) {
    image a = test::random_image({64, 48}, 1, test::Values::finite);
    for (const auto& operation : {subtract, multiply, divide}) {
        const auto before = test::bits(a);
        EXPECT_THROW(operation(a, image(48, 64)), IndexError);
        image no_mask(64, 48);
        no_mask.drop_mask();
        EXPECT_THROW(operation(a, no_mask), AlgoError);
        EXPECT_THROW(operation(no_mask, a), AlgoError);
        EXPECT_EQ(test::bits(a), before);
    }
    image wrong_region(4, 4);
    wrong_region.set_region(Bitmap<std::uint8_t>(4, 3, 1));
    EXPECT_THROW(exclude_below(wrong_region, 1), DimError);
}

TEST(PixelOps, PassEmptyImages) {
    image a(0, 5);
    EXPECT_NO_THROW(divide(a, image(0, 5)));
    EXPECT_NO_THROW(clamp_above(a, 1));
    EXPECT_THROW(divide(a, image(5, 0)), IndexError);
}

}  // namespace
}  // namespace vyn
