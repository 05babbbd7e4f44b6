#include "align/pairing.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <gmock/gmock.h>

namespace vyn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// 25 markers on a grid of 100 pixels, numbered from 1.
MarkerSet grid() {
    MarkerSet set;
    for (int i = 0; i < 25; ++i)
        set.markers.push_back({.x = 50.0 + 100 * (i % 5), .y = 50.0 + 100 * (i / 5), .id = i + 1});
    return set;
}

/// Where a marker is seen under load: turned and stretched, up to 40 pixels away.
Point under_load(double x, double y) {
    return {20 + 1.04 * x - 0.02 * y, 5 + 0.01 * x + 1.03 * y};
}

MarkerSet under_load(MarkerSet set) {
    for (Marker& marker : set.markers) {
        const Point p = under_load(marker.x, marker.y);
        marker.x = p.x;
        marker.y = p.y;
    }
    return set;
}

void shuffle(MarkerSet& set, std::ptrdiff_t from) {
    std::shuffle(set.markers.begin() + from, set.markers.end(), std::mt19937(5));
}

std::vector<int> ids(const Pairing& pairing) {
    std::vector<int> numbers;
    for (const MarkerPair& pair : pairing.pairs)
        numbers.push_back(pair.reference_id);
    return numbers;
}

void expect_true_pairs(const Pairing& pairing) {
    EXPECT_TRUE(pairing.ok);
    for (const MarkerPair& pair : pairing.pairs)
        EXPECT_EQ(pair.moved, under_load(pair.reference.x, pair.reference.y)) << pair.reference_id;
}

TEST(PairingByNumber, SkipsWhatHasNoPartnerAndFallsBackToTheOrder) {
    MarkerSet reference = grid();
    MarkerSet moved = under_load(reference);
    reference.markers[2].active = false;                   // 3
    moved.markers[4].active = false;                       // 5
    moved.markers[6].x = std::nan("");                     // 7
    moved.markers[8].id = 4000;                            // 9
    moved.markers.push_back({.active = false, .id = 10});  // another 10, not active
    moved.markers.erase(moved.markers.begin());            // 1
    shuffle(moved, 0);
    const Pairing pairing = pair_markers(reference, moved, {.link = 0});
    expect_true_pairs(pairing);
    EXPECT_THAT(ids(pairing), ElementsAre(2, 4, 6, 8, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20,
                                          21, 22, 23, 24, 25));
    EXPECT_THAT(pairing.notes, ElementsAre(HasSubstr("No 7 ")));

    // A number that stands twice: the k-th active marker with the k-th active one.
    moved = under_load(reference);
    moved.markers.resize(5);
    moved.markers[3].id = 1;
    const Pairing by_order = pair_markers(reference, moved, {.link = 0});
    expect_true_pairs(by_order);
    EXPECT_THAT(ids(by_order), ElementsAre(1, 2, 4, 5));
    EXPECT_THAT(by_order.notes, ElementsAre(HasSubstr("not unique")));
}

TEST(PairingByNumber, FirstPairsSetTheWindowThatDropsFalseOnes) {
    const MarkerSet reference = grid();
    MarkerSet moved = under_load(reference);
    moved.markers[9].x += 16.4;   // inside the window of 33 pixels about the prediction
    moved.markers[10].x += 16.6;  // outside
    moved.markers[11].y -= 200;
    PairingOptions options{.link = 0, .window_side = 33, .fix_first = 0, .coefficients = 3};
    for (const int fixed : {0, 8}) {
        options.fix_first = fixed;
        const Pairing pairing = pair_markers(reference, moved, options);
        EXPECT_EQ(pairing.pairs.size(), 23U);
        EXPECT_THAT(pairing.notes, ElementsAre(HasSubstr("No 11 is 1"), HasSubstr("No 12 is 20")));
        EXPECT_FALSE(pairing.doubtful);
    }
    // The provisional mapping never has more freedom than the wanted one: a shift does not follow
    // the stretch, and a narrow window tells.
    options.window_side = 9;
    EXPECT_EQ(pair_markers(reference, moved, options).pairs.size(), 22U);
    options.coefficients = 1;
    EXPECT_LT(pair_markers(reference, moved, options).pairs.size(), 18U);
}

TEST(PairingByNeighbour, FixedMarkersLeadToTheRest) {
    MarkerSet reference = grid();
    std::swap(reference.markers[2], reference.markers[20]);  // the first three span the image
    MarkerSet moved = under_load(reference);
    shuffle(moved, 3);
    moved.markers.pop_back();
    moved.markers.insert(moved.markers.begin() + 3, {.x = 151, .y = 400});  // a false marker
    const Pairing pairing = pair_markers(
        reference, moved, {.link = 1, .window_side = 5, .fix_first = 3, .coefficients = 3});
    expect_true_pairs(pairing);
    EXPECT_EQ(pairing.pairs.size(), 24U);

    moved.markers.resize(3);
    EXPECT_EQ(pair_markers(reference, moved, {.link = 1, .fix_first = 1000}).pairs.size(), 3U);
}

/// What happens to markers of the first image that the user lists wrongly.
struct Mistake {
    const char* name;
    int link;
    int fix_first;
    std::size_t markers;
    std::vector<std::pair<std::size_t, std::size_t>> swapped;  ///< places in the list
    bool mirrored;
    std::size_t pairs;
    bool doubtful;
};

class PairingOfWrongLists : public testing::TestWithParam<Mistake> {};

/// Whatever is wrong in the list, the true pairs are found or the doubt is told.
TEST_P(PairingOfWrongLists, FollowsTheMarkersThatAgree) {
    const Mistake& mistake = GetParam();
    MarkerSet reference = grid();
    std::swap(reference.markers[2], reference.markers[20]);
    reference.markers.resize(mistake.markers);
    MarkerSet moved = under_load(reference);
    for (const auto& [a, b] : mistake.swapped) {
        std::swap(moved.markers[a].x, moved.markers[b].x);
        std::swap(moved.markers[a].y, moved.markers[b].y);
    }
    if (mistake.mirrored)
        for (Marker& marker : moved.markers)
            marker.x = 700 - marker.x;
    const Pairing pairing =
        pair_markers(reference, moved,
                     {.link = mistake.link, .fix_first = mistake.fix_first, .coefficients = 3});
    EXPECT_EQ(pairing.doubtful, mistake.doubtful);
    EXPECT_EQ(pairing.pairs.size(), mistake.pairs);
    EXPECT_EQ(pairing.notes.empty(), mistake.swapped.empty());
    if (mistake.doubtful || mistake.mirrored) return;
    expect_true_pairs(pairing);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, PairingOfWrongLists,
    testing::Values(
        Mistake{"two_swapped", 0, 0, 25, {{3, 20}}, false, 23, false},
        Mistake{"two_of_six_swapped", 0, 0, 6, {{0, 5}}, false, 4, false},
        Mistake{"two_of_four_swapped", 0, 0, 4, {{0, 2}}, false, 3, true},
        Mistake{"a_fixed_one_swapped", 0, 5, 25, {{1, 20}}, false, 23, false},
        Mistake{"six_swapped_and_mirrored", 0, 0, 25, {{1, 9}, {4, 12}, {7, 23}}, true, 19, false},
        Mistake{"mirrored", 0, 0, 4, {}, true, 4, false},
        Mistake{"neighbours_of_fixed_ones", 1, 5, 25, {{1, 3}}, false, 25, false}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(PairingByNeighbour, IsMutualInsideTheWindow) {
    MarkerSet reference;
    MarkerSet moved;
    reference.markers = {{.x = 100, .y = 100, .id = 1},
                         {.x = 106, .y = 100, .id = 2},
                         {.x = 300, .y = 100, .id = 3},
                         {.x = 500, .y = 100, .id = 4}};
    moved.markers = {{.x = 104, .y = 101},      // the nearest to both 1 and 2; 2 is nearer to it
                     {.x = 310.5, .y = 89.5},   // in the corner of the window of 3
                     {.x = 510.75, .y = 100}};  // just outside the window of 4
    EXPECT_THAT(ids(pair_markers(reference, moved, {.link = 1, .window_side = 21})),
                ElementsAre(2, 3));
}

TEST(Pairing, OtherMethodsFail) {
    for (const int link : {-1, 2}) {
        const Pairing pairing = pair_markers(grid(), grid(), {.link = link});
        EXPECT_FALSE(pairing.ok);
        EXPECT_THAT(pairing.notes, ElementsAre(HasSubstr("method " + std::to_string(link))));
    }
}

}  // namespace
}  // namespace vyn
