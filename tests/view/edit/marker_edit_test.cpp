#include "view/edit/marker_edit.h"

#include <functional>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "tests/support/dotted_image.h"
#include "tests/support/error_of.h"
#include "view/edit/marker_numbers.h"

namespace vyn {
namespace {

Marker marker(double x, double y, std::int32_t id) {
    Marker m;
    m.x = x;
    m.y = y;
    m.id = id;
    return m;
}

MarkerSet three_markers() {
    MarkerSet set;
    set.markers = {marker(10, 10, 1), marker(20, 10, 7), marker(55, 40, 3)};
    set.hasX = set.hasY = true;
    return set;
}

image dotted(const std::vector<Point>& dots) {
    return test::dotted_image(64, 48, dots);
}

TEST(MarkerEdit, EveryOperationIsOneStepThatUndoAndRedoRepeat) {
    const image picture = dotted({{10.3, 10.4}, {20.2, 9.7}});
    const ExtremeSearchOptions options{.size = 5};
    const std::function<void(MarkerEdit&)> operations[] = {
        [](MarkerEdit& edit) {
            edit.add({5.5, 6.5});
        },
        [](MarkerEdit& edit) {
            edit.move(1, {21, 11});
        },
        [](MarkerEdit& edit) { edit.toggle(2); },
        [](MarkerEdit& edit) { edit.edit(0, marker(11, 12, 99)); },
        [](MarkerEdit& edit) { edit.remove(1); },
        [](MarkerEdit& edit) { edit.clear(); },
        [](MarkerEdit& edit) {
            edit.replace({{marker(1, 2, 3)}, "P", 0, true, true, false, true, {}});
        },
        [&](MarkerEdit& edit) { EXPECT_TRUE(edit.revise(0, picture, options)); },
    };
    for (const auto& operation : operations) {
        MarkerEdit edit(three_markers());
        EXPECT_FALSE(edit.modified() || edit.can_undo() || edit.can_redo());
        operation(edit);
        const MarkerSet after = edit.set();
        EXPECT_NE(after, three_markers());
        EXPECT_TRUE(edit.modified());
        edit.undo();
        EXPECT_EQ(edit.set(), three_markers());
        EXPECT_FALSE(edit.modified() || edit.can_undo());
        edit.redo();
        EXPECT_EQ(edit.set(), after);
        EXPECT_FALSE(edit.can_redo());
    }
}

TEST(MarkerEdit, NewNumbersAreFreeAndNumbersStayUnique) {
    MarkerEdit edit(three_markers());
    edit.add({1, 1});
    EXPECT_EQ(edit.at(3).id, 8);
    EXPECT_EQ(edit.current(), 3U);
    edit.edit(3, marker(1, 1, 2147483647));
    edit.add({2, 2});
    EXPECT_EQ(edit.at(4).id, 2);  // the first gap of 1, 7, 3
    test::error_of<AlgoError>([&] { edit.edit(0, marker(0, 0, 7)); });
    test::error_of<AlgoError>([&] { edit.edit(0, marker(std::nan(""), 0, 1)); });
    EXPECT_EQ(edit.at(0), marker(10, 10, 1));
    Marker port = edit.at(0);
    port.f = 101325;
    edit.edit(0, port);
    EXPECT_TRUE(edit.set().hasF);
}

TEST(MarkerEdit, RevisionFindsTheDotsAndNamesTheMarkersThatStayed) {
    const Point first{10.3, 10.4};
    const Point second{20.2, 9.7};
    MarkerSet set = three_markers();
    set.markers[1].active = false;
    Progress progress;
    const auto stayed = refine_markers(dotted({first, second}), set, 5, DotPolarity::dark,
                                       MarkerRefinement::surface, progress);
    // A quadratic surface is this far off the middle of a round dot.
    EXPECT_NEAR(set.markers[0].x, first.x, 0.05);
    EXPECT_NEAR(set.markers[0].y, first.y, 0.05);
    EXPECT_EQ(set.markers[1].x, 20) << "an inactive marker is left alone";
    EXPECT_EQ(stayed, std::vector<std::int32_t>{3}) << "there is no dot at marker 3";
}

TEST(MarkerEdit, PicksTheNearestWithinReachAndStepsRoundTheEnd) {
    MarkerEdit edit(three_markers());
    EXPECT_EQ(edit.nearest({16, 10}, 5), 1U);
    EXPECT_EQ(edit.nearest({15, 10}, 5), 1U) << "both 5 away: the one drawn on top";
    EXPECT_EQ(edit.nearest({20, 15.1}, 5), std::nullopt);
    EXPECT_EQ(edit.current(), 0U);
    edit.go_prev();
    EXPECT_EQ(edit.current(), 2U);
    edit.go_next();
    EXPECT_EQ(edit.current(), 0U);
    edit.set_current(2);
    edit.remove(2);
    EXPECT_EQ(edit.current(), 1U);
    edit.clear();
    EXPECT_EQ(edit.current(), std::nullopt);
}

TEST(MarkerEdit, KnowsTheSavedStateThroughUndoAndRedo) {
    MarkerEdit edit(three_markers());
    edit.toggle(0);
    edit.set_saved();
    edit.toggle(1);
    edit.undo();
    EXPECT_FALSE(edit.modified());
    edit.undo();
    EXPECT_TRUE(edit.modified());
    edit.toggle(2);  // the saved state is out of reach now
    EXPECT_TRUE(edit.modified());
    edit.undo();
    EXPECT_TRUE(edit.modified());
}

TEST(History, ForgetsTheOldestStepsWhenTheyCostTooMuch) {
    History<int> history(100);
    for (int step = 0; step < 5; ++step)
        history.push(step, 40);
    EXPECT_EQ(history.undo(), 4);
    EXPECT_EQ(history.undo(), 3);
    EXPECT_FALSE(history.can_undo());
    history.push(9, 1000);
    EXPECT_EQ(history.undo(), 9) << "the latest step can always be taken back";
    EXPECT_FALSE(history.can_undo());
}

TEST(MarkerNumbers, PairedMarkersTakeTheirPartnersNumbersAndOthersFreeOnes) {
    MarkerSet moved = three_markers();  // numbers 1, 7, 3
    const std::vector<MarkerPair> pairs{{{0, 0}, {20, 10}, 1}, {{0, 0}, {55, 40}, 12}};
    const MarkerSet numbered = numbered_like_partners(moved, pairs);
    EXPECT_EQ(numbered.markers[1].id, 1);
    EXPECT_EQ(numbered.markers[2].id, 12);
    EXPECT_EQ(numbered.markers[0].id, 13) << "its own number 1 is taken now";
    EXPECT_EQ(numbered.markers[0].x, 10);
}

TEST(MarkerNumbers, FollowThoseOfASetThatWasRenumbered) {
    const MarkerSet before = three_markers();  // numbers 1, 7, 3
    MarkerSet after = before;
    after.markers[1].id = 30;
    after.markers[2].id = 1;
    after.markers.erase(after.markers.begin());
    MarkerSet partners;
    partners.markers = {marker(5, 5, 3), marker(6, 6, 1), marker(7, 7, 7)};
    const MarkerSet now = renumbered_like(partners, before, after);
    EXPECT_EQ(now.markers[0].id, 1);
    EXPECT_EQ(now.markers[1].id, 31) << "its partner is gone and its number another one's";
    EXPECT_EQ(now.markers[2].id, 30);
}

TEST(MarkerNumbers, FoundDotsBesidePresentMarkersAreAddedBehindThem) {
    MarkerSet found;
    found.markers = {marker(21, 11, 1), marker(40, 40, 2)};
    const MarkerSet all = joined(three_markers(), found, 2);
    ASSERT_EQ(all.markers.size(), 4U);
    EXPECT_EQ(all.markers[3], marker(40, 40, 8));
}

TEST(MarkerEdit, NamesWhatTheTextFormatWouldLose) {
    MarkerSet set = three_markers();
    EXPECT_EQ(lost_in_text_format(set), "marker numbers");
    set.markers[1].id = 2;
    EXPECT_EQ(lost_in_text_format(set), "");
    set.markers[1].f = 3;
    EXPECT_EQ(lost_in_text_format(set), "function values");
}

}  // namespace
}  // namespace vyn
