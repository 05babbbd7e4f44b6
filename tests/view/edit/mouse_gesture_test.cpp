#include "view/edit/mouse_gesture.h"

#include <gtest/gtest.h>

namespace vyn {
namespace {

using Event = MouseGesture::Event;

MouseGesture gesture_of(MouseMode mode, RegionShape shape = RegionShape::rectangle) {
    return MouseGesture(gesture_kind(mode, shape));
}

TEST(MouseGesture, ClickModesActWhereTheButtonGoesDown) {
    for (const MouseMode mode :
         {MouseMode::marker_add, MouseMode::marker_revise, MouseMode::marker_toggle,
          MouseMode::marker_edit, MouseMode::marker_delete}) {
        MouseGesture gesture = gesture_of(mode);
        EXPECT_EQ(gesture.press({3, 4}), Event::finished);
        EXPECT_EQ(gesture.places(), (std::vector<Point>{{3, 4}}));
        EXPECT_EQ(gesture.move({8, 8}), Event::none);
        EXPECT_EQ(gesture.release({8, 8}), Event::none);
        EXPECT_EQ(gesture.double_click({3, 4}), Event::finished) << "two clicks act twice";
        EXPECT_EQ(gesture.cancel(), Event::none);
    }
}

TEST(MouseGesture, DragsRunFromPressToReleaseUnlessEscaped) {
    for (const MouseMode mode : {MouseMode::marker_move, MouseMode::graph, MouseMode::region}) {
        MouseGesture gesture = gesture_of(mode);
        EXPECT_EQ(gesture.move({1, 1}), Event::none) << "no button is down";
        EXPECT_EQ(gesture.press({1, 1}), Event::begun);
        EXPECT_EQ(gesture.move({5, 1}), Event::changed);
        EXPECT_EQ(gesture.release({6, 2}), Event::finished);
        EXPECT_EQ(gesture.places(), (std::vector<Point>{{1, 1}, {6, 2}}));

        gesture.press({1, 1});
        EXPECT_EQ(gesture.cancel(), Event::cancelled);
        EXPECT_EQ(gesture.release({6, 2}), Event::none) << "the release after Escape";
    }
}

TEST(MouseGesture, AStrokeKeepsItsWay) {
    MouseGesture gesture = gesture_of(MouseMode::region, RegionShape::brush);
    gesture.press({1, 1});
    gesture.move({2, 2});
    gesture.move({2, 2});
    EXPECT_EQ(gesture.release({3, 2}), Event::finished);
    EXPECT_EQ(gesture.places(), (std::vector<Point>{{1, 1}, {2, 2}, {3, 2}}));
}

TEST(MouseGesture, APolygonEndsWithADoubleClick) {
    MouseGesture gesture = gesture_of(MouseMode::region, RegionShape::polygon);
    EXPECT_EQ(gesture.press({0, 0}), Event::begun);
    EXPECT_EQ(gesture.release({0, 0}), Event::none);
    EXPECT_EQ(gesture.move({9, 0}), Event::changed);
    EXPECT_EQ(gesture.press({10, 0}), Event::changed);
    EXPECT_EQ(gesture.press({10, 10}), Event::changed);
    EXPECT_EQ(gesture.double_click({10, 10}), Event::finished);
    EXPECT_EQ(gesture.places(), (std::vector<Point>{{0, 0}, {10, 0}, {10, 10}}));

    gesture.press({0, 0});
    EXPECT_EQ(gesture.double_click({0, 0}), Event::cancelled) << "a point encloses nothing";
    EXPECT_FALSE(gesture.active());
}

TEST(MouseGesture, ModesOfTheViewHaveNone) {
    for (const MouseMode mode : {MouseMode::probe, MouseMode::zoom_in, MouseMode::zoom_out})
        EXPECT_EQ(gesture_of(mode).press({1, 1}), Event::none);
}

}  // namespace
}  // namespace vyn
