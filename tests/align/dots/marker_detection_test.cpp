#include "align/dots/marker_detection.h"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "align/dots/reading_order.h"
#include "api/parallel.h"
#include "core/errors.h"
#include "sample/dot_scene.h"

namespace vyn::test {
namespace {

using testing::ElementsAre;

Progress progress;

std::size_t true_dots(const std::vector<DetectedDot>& dots, const std::vector<Point>& centres) {
    return static_cast<std::size_t>(
        std::count_if(centres.begin(), centres.end(), [&](const Point& centre) {
            return std::any_of(dots.begin(), dots.end(), [&](const DetectedDot& dot) {
                return std::hypot(dot.fit.centre.x - centre.x, dot.fit.centre.y - centre.y) < 0.5;
            });
        }));
}

/// Of some scenes together: how many dots there are, how many are found, how many of those are
/// true.
struct Found {
    std::size_t wanted = 0;
    std::size_t found = 0;
    std::size_t right = 0;

    void look_at(const DotScene& scene, bool number_known) {
        const DotPicture made = make_dot_picture(scene);
        const int expect = number_known ? static_cast<int>(made.centres.size()) : 0;
        const std::vector<DetectedDot> dots =
            find_dots(made.picture, {.polarity = scene.polarity, .expect = expect}, progress);
        wanted += made.centres.size();
        found += dots.size();
        right += true_dots(dots, made.centres);
    }
    void expect_nearly_all_and_little_else(std::size_t least_wanted) const {
        ASSERT_GT(wanted, least_wanted);
        EXPECT_GE(static_cast<double>(right), 0.98 * static_cast<double>(wanted));
        EXPECT_GE(static_cast<double>(right), 0.98 * static_cast<double>(found));
    }
};

TEST(Detection, FindsDotsOfManySizesAndNothingElse) {
    Found found;
    for (std::uint64_t seed = 1; seed <= 8; ++seed) {
        DotScene scene{.width = 360, .height = 300, .dots = 20, .seed = seed};
        scene.noise = 0.01 * static_cast<double>(seed % 4);
        scene.polarity = seed % 3 == 0 ? DotPolarity::bright : DotPolarity::dark;
        found.look_at(scene, /*number_known=*/seed <= 4);
    }
    found.expect_nearly_all_and_little_else(140);
}

TEST(Detection, TellsDotsFromTapsScrewsScratchesAndSpecks) {
    Found found;
    for (std::uint64_t number = 1; number <= 10; ++number)
        found.look_at(cluttered_scene(number), /*number_known=*/false);
    found.expect_nearly_all_and_little_else(140);
}

TEST(Detection, CutsWhereItIsTold) {
    const DotPicture made = make_dot_picture(cluttered_scene(8));
    const DotCandidates all = find_candidates(made.picture, {}, progress);
    ASSERT_GT(all.dots.size(), made.centres.size());
    for (std::size_t i = 1; i < all.dots.size(); ++i)
        EXPECT_LE(all.dots[i].quality, all.dots[i - 1].quality);
    EXPECT_EQ(taken_count(all, {}), made.centres.size());
    EXPECT_EQ(taken_count(all, {.cut = 0.0}), all.dots.size());
    EXPECT_EQ(taken_count(all, {.cut = all.dots[2].quality}), 3U);
    EXPECT_EQ(taken_count(all, {.expect = 5, .cut = all.dots[2].quality}), 3U);
    EXPECT_EQ(taken_count(all, {.expect = 2, .cut = 0.0}), 2U);
    // Who says how many there are wants so many, doubtful or not.
    EXPECT_EQ(taken_count(all, {.expect = 100000}), all.dots.size());
}

TEST(Detection, KeepsTheBestAndTheWantedSizes) {
    const DotScene small{.dots = 15, .min_radius = 2, .max_radius = 2};
    const DotPicture made = make_dot_picture(small);
    EXPECT_EQ(find_dots(made.picture, {.expect = 7}, progress).size(), 7U);
    EXPECT_TRUE(find_dots(made.picture, {.min_size = 8, .max_size = 12}, progress).empty());
    EXPECT_TRUE(find_dots(made.picture, {.polarity = DotPolarity::bright}, progress).empty());
}

TEST(Detection, SameDotsOnAnyNumberOfThreads) {
    const DotPicture made = make_dot_picture({.dots = 20, .noise = 0.02});
    const MarkerSet first = find_markers(made.picture, {}, progress);
    for (const int threads : {1, 3}) {
        const ThreadLimit limit(threads);
        EXPECT_EQ(find_markers(made.picture, {}, progress), first);
    }
}

TEST(Detection, LeavesOutDotsThatTheMaskTouches) {
    image picture = one_dot({20, 20}, 3, 0.6, 0, DotPolarity::dark, 1);
    ASSERT_EQ(find_dots(picture, {}, progress).size(), 1U);
    image touched = picture;
    for (int y = 0; y < touched.height(); ++y)
        for (int x = 0; x <= 16; ++x)
            touched.mask()(x, y) = 1;
    EXPECT_TRUE(find_dots(touched, {}, progress).empty());
    picture.mask().fill(1);
    EXPECT_TRUE(find_dots(picture, {}, progress).empty());
    EXPECT_TRUE(find_dots(image(0, 0), {}, progress).empty());
    picture.mask().fill(0);
    picture.values().fill(std::nanf(""));
    EXPECT_TRUE(find_dots(picture, {}, progress).empty());
}

TEST(Detection, RefusesAbsurdSizes) {
    const image picture(10, 10);
    for (const DetectionOptions& options :
         {DetectionOptions{.min_size = 0.5}, DetectionOptions{.min_size = 9, .max_size = 8},
          DetectionOptions{.max_size = 1e6}, DetectionOptions{.min_size = std::nan("")},
          DetectionOptions{.expect = -1}, DetectionOptions{.cut = 1.5},
          DetectionOptions{.cut = std::nan("")}})
        EXPECT_THROW(find_dots(picture, options, progress), AlgoError);
}

TEST(ReadingOrder, GoesRowByRowEvenWhenRowsAreTiltedAndBent) {
    for (const double tilt : {-0.2, 0.0, 0.2}) {
        std::vector<Point> points;
        std::vector<std::size_t> expected;
        for (std::size_t i = 0; i < 35; ++i) {
            const auto column = static_cast<double>(i % 7);
            points.push_back({40 * column, 40 * static_cast<double>(i / 7) + 40 * tilt * column +
                                               0.5 * (column - 3) * (column - 3)});
            expected.push_back(i);
        }
        EXPECT_EQ(reading_order(points), expected) << tilt;
        std::reverse(points.begin(), points.end());
        std::reverse(expected.begin(), expected.end());
        EXPECT_EQ(reading_order(points), expected) << tilt;
    }
    EXPECT_TRUE(reading_order({}).empty());
    const std::vector<Point> one{{3, 4}};
    EXPECT_THAT(reading_order(one), ElementsAre(0U));
}

}  // namespace
}  // namespace vyn::test
