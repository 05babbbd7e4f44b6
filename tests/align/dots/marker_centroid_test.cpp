#include "align/dots/marker_centroid.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "align/dots/extreme_search.h"
#include "align/dots/surface_fit.h"
#include "core/log.h"
#include "sample/dot_scene.h"
#include "tests/support/picture_of.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using Function = std::function<double(double, double)>;

std::string last_log_line() {
    const std::vector<LogLine> lines = get_log_mgr().take_new_lines();
    return lines.empty() ? "" : lines.back().text;
}

double bowl(double x, double y) {
    return (x - 10.3) * (x - 10.3) + (y - 20.6) * (y - 20.6);
}

TEST(SurfaceFit, GivesWholeImageCoefficientsOfTheValidPixels) {
    const SurfaceCoefficients truth{7, -3, 2, 0.5, -0.25, 1.5};
    image picture = picture_of(60, 50, [&](double x, double y) {
        return truth[0] + truth[1] * x + truth[2] * y + truth[3] * x * x + truth[4] * y * y +
               truth[5] * x * y;
    });
    picture.values()(40, 30) = 1e9F;
    picture.mask()(40, 30) = 1;
    SurfaceCoefficients found{};
    // The corners may lie outside.
    ASSERT_TRUE(Approx_surface(picture, {36, 26}, {200, 44}, found));
    EXPECT_THAT(last_log_line(), testing::MatchesRegex("Approx_surface:Gauss approximation: "
                                                       "error=[0-9.e+-]+ maximum at:[0-9]+"));
    for (std::size_t k = 0; k < truth.size(); ++k)
        EXPECT_NEAR(found[k], truth[k], 1e-3) << k;
}

TEST(SurfaceFit, KeepsItsDigitsFarFromTheOrigin) {
    image picture = picture_of(64, 4000, [](double x, double y) {
        return 40000 + 2 * (x - 30.25) * (x - 30.25) + (y - 3950.5) * (y - 3950.5);
    });
    Point point{30, 3950};
    ASSERT_TRUE(Precise_centroid(picture, point, 7));
    EXPECT_NEAR(point.x, 30.25, 1e-4);
    EXPECT_NEAR(point.y, 3950.5, 1e-4);
}

TEST(SurfaceFit, NeedsSixPixelsThatSpanASurface) {
    image picture = picture_of(9, 9, bowl);
    picture.mask().fill(1);
    for (int x = 0; x < 9; ++x)
        picture.mask()(x, 4) = 0;
    SurfaceCoefficients found{1, 2, 3, 4, 5, 6};
    EXPECT_FALSE(Approx_surface(picture, {0, 0}, {8, 8}, found));
    EXPECT_EQ(last_log_line(), "Approx_surface:Can't find LSQ fit");
    EXPECT_EQ(found, (SurfaceCoefficients{1, 2, 3, 4, 5, 6}));
}

struct CentroidCase {
    const char* name;
    Function value;
    Point start;
    int size;
    std::optional<Point> found;
    const char* reason;
};

class PreciseCentroid : public testing::TestWithParam<CentroidCase> {};

TEST_P(PreciseCentroid, FindsTheExtremumOrSaysWhyNot) {
    const CentroidCase& c = GetParam();
    const image picture = picture_of(40, 40, c.value);
    Point point = c.start;
    EXPECT_EQ(Precise_centroid(picture, point, c.size), c.found.has_value());
    const Point expected = c.found.value_or(c.start);
    EXPECT_NEAR(point.x, expected.x, 1e-4);
    EXPECT_NEAR(point.y, expected.y, 1e-4);
    EXPECT_THAT(last_log_line(), StartsWith(c.reason));
}

INSTANTIATE_TEST_SUITE_P(
    HandCases, PreciseCentroid,
    testing::Values(
        CentroidCase{"bowl", bowl, {10, 21}, 7, Point{10.3, 20.6}, "Approx_surface:Gauss"},
        CentroidCase{"hill",
                     [](double x, double y) { return 5 - 3 * bowl(x, y) / 2; },
                     {10, 21},
                     7,
                     Point{10.3, 20.6},
                     "Approx_surface:Gauss"},
        CentroidCase{"saddle",
                     [](double x, double y) { return x * x - y * y; },
                     {10, 10},
                     7,
                     {},
                     "Precise_centroid: no extremal point"},
        // Not a number that 32-bit pixels hold exactly: rounding is no curvature.
        CentroidCase{"plane",
                     [](double x, double y) { return 1000 + x / 3 + y / 7; },
                     {10, 10},
                     7,
                     {},
                     "Precise_centroid:Can't solve the equation"},
        CentroidCase{"ridge",
                     [](double x, double) { return (x - 10) * (x - 10); },
                     {10, 10},
                     7,
                     {},
                     "Precise_centroid:Can't solve the equation"},
        CentroidCase{"eight_pixels_off",
                     bowl,
                     {18.3, 20.6},
                     7,
                     {},
                     "Precise_centroid:extreem is beyound scope"},
        CentroidCase{
            "within_the_size", bowl, {17.2, 20.6}, 7, Point{10.3, 20.6}, "Approx_surface:Gauss"},
        CentroidCase{"far_outside", bowl, {1e300, -1e300}, 7, {}, "Approx_surface:Can't find"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(PreciseCentroidPoint, MustBeANumber) {
    Point point{std::nan(""), 20};
    EXPECT_FALSE(Precise_centroid(picture_of(40, 40, bowl), point, 7));
    EXPECT_EQ(last_log_line(), "Approx_surface:Can't find LSQ fit");
    EXPECT_EQ(point.y, 20);
}

TEST(PreciseCentroidBox, IsTruncatedTowardZero) {
    // A box about 10.9 of size 7 covers columns 7 to 13: what lies in 6 and 14 has no part.
    image picture =
        picture_of(40, 40, [](double x, double y) { return x <= 6 || x >= 14 ? 1e6 : bowl(x, y); });
    Point point{10.9, 20};
    ASSERT_TRUE(Precise_centroid(picture, point, 7));
    EXPECT_NEAR(point.x, 10.3, 1e-4);
}

struct DotCase {
    double radius;
    DotPolarity polarity;
};

class DotRefinement : public testing::TestWithParam<DotCase> {};

TEST_P(DotRefinement, MedianErrorStaysBelowThreeHundredthsOfAPixel) {
    const auto [radius, polarity] = GetParam();
    std::mt19937_64 random(7);
    const auto phase = [&] { return static_cast<double>(random() >> 11) * 0x1p-53 - 0.5; };
    std::vector<double> errors;
    for (int k = 0; k < 60; ++k) {
        const Point centre{24 + phase(), 24 + phase()};
        const image picture = one_dot(centre, radius, 0.6, 0.01, polarity, random());
        // From up to a pixel and a half beside the dot.
        Point point{centre.x + 2 * phase(), centre.y + 2 * phase()};
        const int size = 2 * static_cast<int>(std::lround(2.2 * radius)) + 3;
        ASSERT_TRUE(refine_marker(picture, point, size, polarity, MarkerRefinement::dot));
        errors.push_back(std::hypot(point.x - centre.x, point.y - centre.y));
    }
    std::sort(errors.begin(), errors.end());
    EXPECT_LT(errors[30], 0.03);
    EXPECT_LT(errors.back(), 0.12);
}

INSTANTIATE_TEST_SUITE_P(RadiiAndPolarities, DotRefinement,
                         testing::Values(DotCase{1.5, DotPolarity::dark},
                                         DotCase{2.5, DotPolarity::bright},
                                         DotCase{4, DotPolarity::dark},
                                         DotCase{6, DotPolarity::bright},
                                         DotCase{6, DotPolarity::dark}));

TEST(DotRefinement, FailsWhereThereIsNoDotOfThePolarity) {
    const image picture = one_dot({24, 24}, 3, 0.5, 0, DotPolarity::dark, 1);
    EXPECT_FALSE(fit_dot(picture, {24, 24}, 8, DotPolarity::bright));
    EXPECT_FALSE(fit_dot(picture, {-100, 24}, 8, DotPolarity::dark));
    EXPECT_FALSE(fit_dot(picture, {24, std::nan("")}, 8, DotPolarity::dark));
    image masked = picture;
    masked.mask().fill(1);
    EXPECT_FALSE(fit_dot(masked, {24, 24}, 8, DotPolarity::dark));
    image flat(48, 48);
    flat.values().fill(5);
    EXPECT_FALSE(fit_dot(flat, {24, 24}, 8, DotPolarity::dark));
}

/// A dark picture with single bright pixels.
image bright_pixels(std::initializer_list<Pixel> pixels) {
    image picture = picture_of(40, 40, [](int, int) { return 0; });
    for (const Pixel& p : pixels)
        picture.values()(p.x, p.y) = 100;
    return picture;
}

TEST(ExtremeSearch, LandsOnTheBrightPixelWithinHalfTheSize) {
    const ExtremeSearchOptions options{.size = 5, .polarity = DotPolarity::bright};
    const ExtremeSearch near = find_extreme(bright_pixels({{22, 20}}), {20, 20}, options);
    EXPECT_TRUE(near.found);
    EXPECT_NEAR(near.point.x, 22, 1e-6);
    EXPECT_NEAR(near.point.y, 20, 1e-6);
    const ExtremeSearch far = find_extreme(bright_pixels({{23, 20}}), {20, 20}, options);
    EXPECT_FALSE(far.found);
    EXPECT_EQ(far.point, (Point{20, 20}));
    // Size 1 has no reach at all.
    EXPECT_FALSE(
        find_extreme(bright_pixels({{20, 20}}), {20.2, 20}, {1, DotPolarity::bright, {}}).found);
    EXPECT_TRUE(
        find_extreme(bright_pixels({{20, 20}}), {20, 20}, {1, DotPolarity::bright, {}}).found);
}

TEST(ExtremeSearch, FirstOfEqualsAndOnlyValidPixels) {
    image picture = bright_pixels({{18, 20}, {22, 20}});
    const ExtremeSearchOptions options{.size = 5, .polarity = DotPolarity::bright};
    EXPECT_LT(find_extreme(picture, {20, 20}, options).point.x, 20);
    picture.mask()(18, 20) = 1;
    EXPECT_GT(find_extreme(picture, {20, 20}, options).point.x, 20);
}

TEST(ExtremeSearch, NothingThatStandsOutGivesTheClickedPixel) {
    image flat(40, 40);
    flat.values().fill(3);
    for (const auto mask : {std::uint8_t{0}, std::uint8_t{1}}) {
        flat.mask().fill(mask);
        const ExtremeSearch search = find_extreme(flat, {20.7, 21.4}, {});
        EXPECT_TRUE(search.found);
        EXPECT_EQ(search.point, (Point{20, 21}));
    }
    EXPECT_FALSE(find_extreme(flat, {std::nan(""), 3}, {}).found);
}

}  // namespace
}  // namespace vyn::test
