#include "align/marker_alignment.h"

#include <cmath>

#include <gmock/gmock.h>

namespace vyn {
namespace {

/// Some of five markers, the last one moved in x.
MarkerSet markers(std::size_t count, double moved_x = 0) {
    MarkerSet set;
    for (const Point p : {Point{10, 10}, {900, 40}, {60, 800}, {850, 870}, {400, 500}})
        set.markers.push_back({.x = p.x, .y = p.y, .id = static_cast<int>(set.markers.size()) + 1});
    set.markers.back().x += moved_x;
    set.markers.resize(count);
    return set;
}

TEST(MarkerMatch, ShiftWithResidualsAndReport) {
    const MarkerMatch match = match_markers(markers(5), markers(5, 15), {.order = 0});
    ASSERT_TRUE(match.ok);
    EXPECT_EQ(apply_poly(match.moved_from_reference, {10, 10}), (Point{13, 10}));
    EXPECT_THAT(match.residuals, testing::ElementsAre(Point{-3, 0}, Point{-3, 0}, Point{-3, 0},
                                                      Point{-3, 0}, Point{12, 0}));
    EXPECT_THAT(report_lines(match, "wind_off", "wind_on"),
                testing::ElementsAre("Markers Connection:", "Number of markers:5",
                                     "Number of standard markers = 5", "Number of pairs = 5",
                                     "Mean-square error = 6", "Mean absolute error = 4.8",
                                     "Maximal absolute error = 12 at marker No 5",
                                     "Image Alignment:    wind_on - (wind_off)", ""));
}

TEST(MarkerMatch, PairCountDecidesWhetherThereIsAFit) {
    enum Outcome { fails, underdetermined, determined };
    for (const auto& [order, count, outcome] : {std::tuple{1, 1U, fails},
                                                {1, 2U, underdetermined},
                                                {1, 3U, determined},
                                                {2, 2U, fails},
                                                {2, 3U, underdetermined},
                                                {3, 4U, fails},
                                                {3, 5U, underdetermined},
                                                {7, 1U, determined}}) {
        const MarkerMatch match = match_markers(markers(count), markers(count), {.order = order});
        EXPECT_EQ(match.ok, outcome != fails) << order << ' ' << count;
        EXPECT_EQ(match.failure.empty(), outcome != fails);
        EXPECT_EQ(match.underdetermined, outcome == underdetermined);
        EXPECT_EQ(match.notes.size(), outcome == underdetermined ? 1U : 0U);
        EXPECT_LT(match.max_absolute_error, 1e-9);
    }
}

/// A five-pixel error inside the window is told, with the marker and how far it is off.
TEST(MarkerMatch, ErrorsAreTold) {
    using testing::ElementsAre;
    using testing::HasSubstr;
    MarkerSet reference = markers(5);
    for (int i = 6; i <= 12; ++i)
        reference.markers.push_back({.x = 70.0 * i, .y = 900 - 5.0 * i * i, .id = i});
    MarkerSet moved = reference;
    EXPECT_THAT(match_markers(reference, moved, {}).notes, ElementsAre());
    moved.markers[6].x += 5;
    const MarkerMatch match = match_markers(reference, moved, {});
    EXPECT_THAT(match.notes, ElementsAre(HasSubstr("No 7 by 5.0 px"), HasSubstr("marker No 7")));
    EXPECT_FALSE(match.poor);
    moved.markers[6].x += 10;
    const MarkerMatch poor = match_markers(reference, moved, {});
    EXPECT_TRUE(poor.poor);
    EXPECT_THAT(poor.notes.back(), HasSubstr("Poorly aligned"));
    moved.markers[6].x += 10;
    EXPECT_FALSE(match_markers(reference, moved, {}).poor) << "outside the window";
}

TEST(MarkerMatch, FailuresAndWindow) {
    MarkerSet inactive = markers(5);
    for (Marker& marker : inactive.markers)
        marker.active = false;
    for (const int order : {1, 7}) {
        const MarkerMatch none = match_markers(markers(4), inactive, {.order = order});
        EXPECT_FALSE(none.ok);
        EXPECT_EQ(none.failure, "There are no pairs to transform Image.\nCopy is available only.");
        EXPECT_THAT(none.notes, testing::ElementsAre("Different count of 'align' markers"));
        EXPECT_EQ(none.reference_count, 4);
        EXPECT_EQ(none.moved_count, 5);
        EXPECT_THAT(report_lines(none, "a", "b"),
                    testing::Not(testing::Contains(testing::HasSubstr("error"))));
    }
    const MarkerMatch method = match_markers(markers(5), markers(5), {.link = 2});
    EXPECT_FALSE(method.ok);
    EXPECT_THAT(method.failure, testing::HasSubstr("method 2"));
    // A marker 10.6 pixels away is outside a window of 2 * 10 + 1 pixels.
    for (const auto& [box, pairs] : {std::pair{10, 4U}, {11, 5U}, {2147483647, 5U}})
        EXPECT_EQ(match_markers(markers(5), markers(5, 10.6), {.box = box, .link = 1}).pairs.size(),
                  pairs);
}

}  // namespace
}  // namespace vyn
