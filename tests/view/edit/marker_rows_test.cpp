#include "view/edit/marker_rows.h"

#include <gmock/gmock.h>

#include "core/errors.h"
#include "tests/support/error_of.h"

namespace vyn {
namespace {

using testing::HasSubstr;

MarkerSet ports() {
    MarkerSet set;
    set.hasX = set.hasY = true;
    set.markers = {
        {.x = 1.5, .y = 2, .id = 1}, {.x = 3, .y = 4, .id = 2}, {.x = 5, .y = 6, .id = 7}};
    return set;
}

TEST(MarkerRows, APastedColumnFillsValues) {
    const MarkerSet set =
        with_cells(ports(), 1, MarkerColumn::value, "P, Pa\n98000\r\n97500,5\n\n");
    EXPECT_TRUE(set.hasF);
    EXPECT_EQ(set.markers[0].f, 0);
    EXPECT_EQ(set.markers[1].f, 98000);
    EXPECT_EQ(set.markers[2].f, 97500.5) << "a decimal comma";
}

TEST(MarkerRows, WholeLinesGoByTheirNumbers) {
    const MarkerSet set = with_cells(ports(), 0, MarkerColumn::number,
                                     "number,x,y,p,active\n7,50,60,1e5,0\n20,70,80,2e5,yes\n");
    ASSERT_EQ(set.markers.size(), 4u);
    EXPECT_EQ(set.markers[0], ports().markers[0]);
    EXPECT_EQ(set.markers[2], (Marker{.x = 50, .y = 60, .f = 1e5, .active = false, .id = 7}));
    EXPECT_EQ(set.markers[3], (Marker{.x = 70, .y = 80, .f = 2e5, .active = true, .id = 20}));
}

TEST(MarkerRows, NewLinesGetNumbersAndTablesComeBack) {
    MarkerSet set = with_cells({}, 0, MarkerColumn::x, "10;20,5\n30;40");
    ASSERT_EQ(set.markers.size(), 2u);
    EXPECT_EQ(set.markers[0], (Marker{.x = 10, .y = 20.5, .id = 1}));
    EXPECT_EQ(set.markers[1].id, 2);
    std::string line;
    for (int column = 0; column < marker_columns; ++column)
        line += (column == 0 ? "" : "\t") +
                marker_cell(set.markers[0], static_cast<MarkerColumn>(column));
    EXPECT_EQ(with_cells(set, 0, MarkerColumn::number, line).markers, set.markers);
}

TEST(MarkerRows, WhatIsNoValueIsRefusedByLine) {
    for (const auto& [column, text, told] :
         {std::tuple{MarkerColumn::value, "1\nmany\n", "line 2: \"many\" is no finite number"},
          {MarkerColumn::value, "inf", "no finite number"},
          {MarkerColumn::value, "many", "\"many\" is no finite number"},
          {MarkerColumn::number, "1.5", "no whole number"},
          {MarkerColumn::number, "2", "number 2 would stand twice"},
          {MarkerColumn::active, "1\nperhaps", "line 2"}})
        EXPECT_THAT(test::error_of<AlgoError>([&, c = column, t = text] {
                        with_cells(ports(), 0, c, t);
                    }).detail,
                    HasSubstr(told));
}

}  // namespace
}  // namespace vyn
