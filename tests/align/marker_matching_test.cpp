#include "align/marker_matching.h"

#include <algorithm>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "align/marker_alignment.h"

namespace vyn {
namespace {

using testing::HasSubstr;

/// Where a marker is seen under load.
using Motion = Point (*)(double x, double y);

Point bent(double x, double y) {
    return {x + 6 + 0.008 * y + 1.5e-5 * x * x, y - 4 - 0.01 * x + 2e-5 * x * y};
}
Point turned(double x, double y) {
    return {40 + 1.02 * x - 0.12 * y, -35 + 0.12 * x + 1.02 * y};
}

struct MatchingCase {
    const char* name;
    Motion motion;
    bool regular;
    int markers;
    std::size_t missing;  ///< in each of the two images
    int false_dots;       ///< in each of the two images
};

struct TwoImages {
    MarkerSet reference;
    MarkerSet moved;  ///< the true partner of reference id k has id 1000 + k
    std::size_t common = 0;
};

TwoImages make_images(const MatchingCase& c) {
    std::mt19937_64 random(11);
    const auto uniform = [&](double low, double high) {
        return low + (high - low) * static_cast<double>(random() >> 11) * 0x1p-53;
    };
    TwoImages images;
    for (int i = 0; i < c.markers; ++i) {
        const double x = c.regular ? 60 + 90 * (i % 6) : uniform(20, 620);
        const double y = c.regular ? 50 + 80 * (i / 6) : uniform(20, 460);
        const Point p = c.motion(x, y);
        images.reference.markers.push_back({.x = x, .y = y, .id = i + 1});
        images.moved.markers.push_back(
            {.x = p.x + uniform(-0.05, 0.05), .y = p.y + uniform(-0.05, 0.05), .id = 1001 + i});
    }
    images.common = images.reference.markers.size() - 2 * c.missing;
    images.reference.markers.erase(images.reference.markers.begin(),
                                   images.reference.markers.begin() + std::ptrdiff_t(c.missing));
    images.moved.markers.resize(images.moved.markers.size() - c.missing);
    for (int i = 0; i < c.false_dots; ++i)
        for (MarkerSet* set : {&images.reference, &images.moved})
            set->markers.push_back({.x = uniform(20, 620), .y = uniform(20, 460), .id = -1 - i});
    std::shuffle(images.reference.markers.begin(), images.reference.markers.end(), random);
    std::shuffle(images.moved.markers.begin(), images.moved.markers.end(), random);
    return images;
}

class Matching : public testing::TestWithParam<MatchingCase> {};

TEST_P(Matching, FindsTheTruePairsAndNoOthers) {
    const TwoImages images = make_images(GetParam());
    const Pairing pairing = pair_by_geometry(images.reference, images.moved, {.coefficients = 6});
    ASSERT_TRUE(pairing.ok) << pairing.notes.back();
    for (const MarkerPair& pair : pairing.pairs) {
        const Point p = GetParam().motion(pair.reference.x, pair.reference.y);
        EXPECT_LT(std::hypot(p.x - pair.moved.x, p.y - pair.moved.y), 0.1) << pair.reference_id;
    }
    EXPECT_GE(pairing.pairs.size() + 1, images.common);
    EXPECT_EQ(pairing.pairs.size() <
                  std::max(images.reference.markers.size(), images.moved.markers.size()),
              !pairing.notes.empty());
}

INSTANTIATE_TEST_SUITE_P(Scenes, Matching,
                         testing::Values(MatchingCase{"shuffled", bent, false, 30, 0, 0},
                                         MatchingCase{"missing", bent, false, 30, 4, 0},
                                         MatchingCase{"false_dots", bent, false, 24, 0, 12},
                                         MatchingCase{"all_at_once", bent, false, 40, 6, 15},
                                         MatchingCase{"turned", turned, false, 30, 2, 5},
                                         MatchingCase{"regular", bent, true, 30, 0, 0},
                                         MatchingCase{"regular_incomplete", bent, true, 30, 3, 4},
                                         MatchingCase{"few", bent, false, 4, 0, 0},
                                         MatchingCase{"many", bent, false, 150, 5, 20}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(MatchingFailures, SayWhy) {
    TwoImages two = make_images({"", bent, false, 2, 0, 0});
    const Pairing few = pair_by_geometry(two.reference, two.moved, {});
    EXPECT_FALSE(few.ok);
    EXPECT_THAT(few.notes.back(), HasSubstr("2 and 2 markers are too few"));

    TwoImages scattered = make_images({"", bent, false, 12, 6, 6});
    const Pairing none = pair_by_geometry(scattered.reference, scattered.moved, {.window_side = 3});
    EXPECT_FALSE(none.ok);
    EXPECT_THAT(none.notes.back(), HasSubstr("do not agree"));

    // All in one place: no distance, no direction.
    MarkerSet heap;
    heap.markers.assign(5, {.x = 10, .y = 10});
    EXPECT_FALSE(pair_by_geometry(heap, heap, {}).ok);
}

TEST(MatchingReport, SuggestsTheOrderOfTheMotion) {
    const TwoImages images = make_images({"", bent, false, 30, 2, 2});
    const MarkerMatch match =
        match_markers(images.reference, images.moved, {.order = 2, .link = 5, .by_geometry = true});
    ASSERT_TRUE(match.ok) << match.failure;
    EXPECT_LT(match.mean_square_error, 0.06);
    EXPECT_EQ(match.orders.suggested, 2);
    EXPECT_GT(*match.orders.leave_one_out[1], 5 * *match.orders.leave_one_out[2]);
    EXPECT_THAT(order_lines(match.orders),
                testing::Contains("Order with the smallest leave-one-out error = 2"));
}

TEST(LeaveOneOut, IsTheErrorOfTheFitToTheOthers) {
    const TwoImages images = make_images({"", bent, false, 14, 0, 0});
    const MarkerMatch match =
        match_markers(images.reference, images.moved, {.order = 2, .by_geometry = true});
    ASSERT_EQ(match.pairs.size(), 14U);
    for (int order = 0; order <= 3; ++order) {
        double squares = 0;
        for (std::size_t left_out = 0; left_out < match.pairs.size(); ++left_out) {
            std::vector<Point> from;
            std::vector<Point> to;
            for (std::size_t i = 0; i < match.pairs.size(); ++i) {
                if (i == left_out) continue;
                from.push_back(match.pairs[i].reference);
                to.push_back(match.pairs[i].moved);
            }
            const PolyFit fit = fit_poly(from, to, poly_coefficient_count(order));
            const Point p = apply_poly(fit.map, match.pairs[left_out].reference);
            const Point& q = match.pairs[left_out].moved;
            squares += (p.x - q.x) * (p.x - q.x) + (p.y - q.y) * (p.y - q.y);
        }
        const std::optional<double> error = match.orders.leave_one_out[std::size_t(order)];
        ASSERT_TRUE(error);
        EXPECT_NEAR(*error, std::sqrt(squares / 14), 1e-6 * *error) << order;
    }
    // Six pairs do not check six coefficients.
    const OrderErrors six = leave_one_out_errors(std::span(match.pairs).first(6));
    EXPECT_TRUE(six.leave_one_out[1]);
    EXPECT_FALSE(six.leave_one_out[2]);
}

}  // namespace
}  // namespace vyn
