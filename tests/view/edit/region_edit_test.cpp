#include "view/edit/region_edit.h"

#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "tests/support/picture_of.h"

namespace vyn {
namespace {

constexpr PictureSize small{8, 6};

/// Rows of '#' (covered) and '.'.
std::string drawing(PictureSize size, const PixelRuns& runs) {
    std::string text;
    for (int y = 0; y < size.height; ++y) {
        std::string row(static_cast<std::size_t>(size.width), '.');
        for (const PixelRun& run : runs)
            if (run.y == y)
                for (int x = run.first; x < run.last; ++x)
                    row.at(static_cast<std::size_t>(x)) = '#';
        text += row + "\n";
    }
    return text;
}

struct Case {
    const char* name;
    PixelRuns runs;
    const char* expected;
};

TEST(PixelRuns, CoverThePixelsWhoseCentresLieInside) {
    const double infinite = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        {"rectangle, rims included", rectangle_runs(small, {2, 1}, {4.9, 2}),
         "........\n..###...\n..###...\n........\n........\n........\n"},
        {"rectangle from below, beyond the picture", rectangle_runs(small, {90, 3.2}, {5.1, -7}),
         "......##\n......##\n......##\n......##\n........\n........\n"},
        {"rectangle between centres", rectangle_runs(small, {2.1, 1.1}, {2.9, 1.9}),
         "........\n........\n........\n........\n........\n........\n"},
        // Row 2 is the diameter 1..5; one row off, half the chord is 2 sqrt(1 - 1/4) = 1.73.
        {"circle of radius 2 about (3, 2)", ellipse_runs(small, {1, 0}, {5, 4}),
         "...#....\n..###...\n.#####..\n..###...\n...#....\n........\n"},
        // Left and upper rims belong to it, right and lower ones do not.
        {"square as polygon",
         polygon_runs(small, std::vector<Point>{{1, 1}, {4, 1}, {4, 3}, {1, 3}}),
         "........\n.###....\n.###....\n........\n........\n........\n"},
        // Its notch reaches down to (3, 3); in row 1 the rims are at 1, 1.67, 4.33 and 5.
        {"notched polygon",
         polygon_runs(small, std::vector<Point>{{1, 0}, {3, 3}, {5, 0}, {5, 5}, {1, 5}}),
         // Row 1: 1 <= x < 1.67, and 4.33 <= x < 5 holds no centre; row 2: up to 2.33, from 3.67.
         "........\n.#......\n.##.#...\n.####...\n.####...\n........\n"},
        {"disc of radius 1.5", brush_runs(small, std::vector<Point>{{2, 2}}, 1.5),
         "........\n.###....\n.###....\n.###....\n........\n........\n"},
        {"stroke of radius 0", brush_runs(small, std::vector<Point>{{1, 1}, {5, 1}, {5, 4}}, 0),
         "........\n.#####..\n.....#..\n.....#..\n.....#..\n........\n"},
        {"not finite", rectangle_runs(small, {-infinite, 0}, {5, 5}),
         "........\n........\n........\n........\n........\n........\n"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(drawing(small, c.runs), c.expected) << c.name;
}

TEST(PixelRuns, AStrokeCoversWhatIsWithinItsRadiusOfTheLine) {
    const PictureSize size{40, 30};
    const std::vector<Point> way{{5.3, 6.1}, {20.7, 9.4}, {12.2, 24.8}};
    constexpr double radius = 3.4;
    const auto distance_to = [](Point p, Point a, Point b) {
        const double length2 = std::pow(b.x - a.x, 2) + std::pow(b.y - a.y, 2);
        const double t =
            std::clamp(((p.x - a.x) * (b.x - a.x) + (p.y - a.y) * (b.y - a.y)) / length2, 0.0, 1.0);
        return std::hypot(p.x - a.x - t * (b.x - a.x), p.y - a.y - t * (b.y - a.y));
    };
    PixelRuns expected;
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            const Point p{double(x), double(y)};
            if (std::min(distance_to(p, way[0], way[1]), distance_to(p, way[1], way[2])) <= radius)
                expected.push_back({y, x, x + 1});
        }
    EXPECT_EQ(drawing(size, brush_runs(size, way, radius)), drawing(size, expected));
}

image ramp() {
    return test::picture_of(small.width, small.height, [](int x, int) { return x; });
}

std::string drawing(const Bitmap<std::uint8_t>& plane) {
    std::string text;
    for (int y = 0; y < plane.height(); ++y) {
        for (int x = 0; x < plane.width(); ++x)
            text += plane(x, y) != 0 ? '#' : '.';
        text += "\n";
    }
    return text;
}

TEST(RegionEdit, AddsTakesAwayReplacesAndInverts) {
    const std::string rows = "........\n";
    RegionEdit edit(ramp());
    EXPECT_TRUE(
        edit.draw(RegionPlane::excluded, RegionAction::add, rectangle_runs(small, {1, 1}, {3, 2})));
    EXPECT_FALSE(
        edit.draw(RegionPlane::excluded, RegionAction::add, rectangle_runs(small, {2, 1}, {3, 2})))
        << "nothing new";
    EXPECT_TRUE(edit.draw(RegionPlane::excluded, RegionAction::remove,
                          rectangle_runs(small, {2, 2}, {7, 7})));
    EXPECT_EQ(drawing(edit.picture().mask()), rows + ".###....\n.#......\n" + rows + rows + rows);
    EXPECT_TRUE(
        edit.draw(RegionPlane::excluded, RegionAction::only, threshold_flags(ramp(), 6, 1e9)));
    const std::string right = "......##\n";
    EXPECT_EQ(drawing(edit.picture().mask()), right + right + right + right + right + right);
    EXPECT_TRUE(edit.draw(RegionPlane::excluded, RegionAction::invert,
                          rectangle_runs(small, {-1, 1}, {9, 1})));
    EXPECT_EQ(drawing(edit.picture().mask()), right + "######..\n" + right + right + right + right);
    EXPECT_FALSE(edit.picture().has_region());
}

TEST(RegionEdit, TheRegionPlaneComesAndGoesWithItsFirstShape) {
    for (const RegionAction action : {RegionAction::add, RegionAction::remove}) {
        RegionEdit edit(ramp());
        ASSERT_TRUE(edit.draw(RegionPlane::region, action, rectangle_runs(small, {0, 0}, {7, 0})));
        const bool added = action == RegionAction::add;
        EXPECT_EQ(edit.picture().region()(3, 0) != 0, added);
        EXPECT_EQ(edit.picture().region()(3, 1) != 0, !added);
        edit.undo();
        EXPECT_FALSE(edit.picture().has_region());
        edit.redo();
        EXPECT_EQ(edit.picture().region()(3, 0) != 0, added);
    }
}

TEST(RegionEdit, PixelsWithoutANumberStayExcluded) {
    image picture = ramp();
    picture.values()(2, 2) = std::numeric_limits<float>::quiet_NaN();
    picture.mask()(2, 2) = picture.mask()(3, 2) = 255;
    RegionEdit edit(picture);
    edit.draw(RegionPlane::excluded, RegionAction::remove, rectangle_runs(small, {0, 0}, {7, 5}));
    EXPECT_NE(edit.picture().mask()(2, 2), 0);
    EXPECT_EQ(edit.picture().mask()(3, 2), 0);
    EXPECT_NE(picture.mask()(3, 2), 0) << "the snapshot it came from is untouched";
}

TEST(RegionEdit, RandomStepsUndoneAndDoneAgainComeBackToTheSamePlanes) {
    std::mt19937 random(7);
    const auto place = [&] {
        return Point{std::uniform_real_distribution(-2.0, 10.0)(random),
                     std::uniform_real_distribution(-2.0, 8.0)(random)};
    };
    RegionEdit edit(ramp());
    std::vector<std::string> states{drawing(edit.picture().mask())};
    while (states.size() < 40) {
        const auto action = static_cast<RegionAction>(random() % 4);
        const PixelRuns shape = random() % 2 == 0 ? ellipse_runs(small, place(), place())
                                                  : rectangle_runs(small, place(), place());
        if (edit.draw(RegionPlane::excluded, action, shape))
            states.push_back(drawing(edit.picture().mask()));
    }
    for (std::size_t i = states.size() - 1; i-- > 0;) {
        edit.undo();
        ASSERT_EQ(drawing(edit.picture().mask()), states[i]);
    }
    EXPECT_FALSE(edit.can_undo());
    while (edit.can_redo())
        edit.redo();
    EXPECT_EQ(drawing(edit.picture().mask()), states.back());
}

TEST(RegionEdit, KeepsItsStepsWhenOnlyTheMarkersOfTheImageChange) {
    RegionEdit edit(ramp());
    edit.draw(RegionPlane::excluded, RegionAction::add, rectangle_runs(small, {0, 0}, {1, 1}));
    image marked = edit.picture();
    marked.markers.markers.resize(3);
    EXPECT_TRUE(edit.take(marked));
    EXPECT_EQ(edit.picture().markers.markers.size(), 3U);
    EXPECT_TRUE(edit.can_undo());
    marked.mask()(5, 5) = 1;
    EXPECT_FALSE(edit.take(marked));
}

}  // namespace
}  // namespace vyn
