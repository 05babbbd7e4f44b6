#include "process/report/field_comparison.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "core/errors.h"

namespace vyn::test {
namespace {

image filled(int width, int height, float value) {
    image picture(width, height);
    picture.values().fill(value);
    return picture;
}

FieldComparison compare(const image& field, const image& truth, const ComparisonOptions& options) {
    Progress progress;
    return compare_fields(field, truth, options, progress);
}

TEST(FieldComparison, MeasuresErrorsOverCommonPixels) {
    image truth = filled(3, 2, 10);
    truth.values()(2, 1) = 30;
    image field = truth;
    field.values()(0, 0) += 1;
    field.values()(1, 0) -= 3;
    field.values()(2, 0) = std::numeric_limits<float>::quiet_NaN();
    field.mask()(2, 0) = 1;  // excluded in the field only
    field.values()(0, 1) = 1e6F;
    truth.mask()(0, 1) = 7;  // excluded in the truth only

    const FieldComparison result = compare(field, truth, {});
    EXPECT_EQ(result.count, 4);
    EXPECT_DOUBLE_EQ(result.rms_error, std::sqrt(10.0 / 4));
    EXPECT_DOUBLE_EQ(result.mean_error, -0.5);
    EXPECT_DOUBLE_EQ(result.max_error, 3);
    EXPECT_EQ(result.max_x, 1);
    EXPECT_EQ(result.max_y, 0);
    EXPECT_DOUBLE_EQ(result.truth_range(), 20);
}

struct Margin {
    int excluded_x, excluded_y;
    int edge;
    Point dot;
    double dot_distance;
};

class FieldComparisonMargin : public testing::TestWithParam<Margin> {};

/// Counts the compared pixels by the definition: every pixel against every excluded one, the frame
/// of outside pixels among them.
TEST_P(FieldComparisonMargin, MatchesTheDefinition) {
    constexpr int width = 23;
    constexpr int height = 17;
    const Margin& margin = GetParam();
    image truth = filled(width, height, 0);
    truth.mask()(margin.excluded_x, margin.excluded_y) = 1;
    truth.mask()(width - 1 - margin.excluded_x, 3) = 1;

    std::int64_t expected = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            bool kept = std::hypot(x - margin.dot.x, y - margin.dot.y) > margin.dot_distance;
            for (int v = -1; v <= height; ++v)
                for (int u = -1; u <= width; ++u) {
                    const bool outside = u < 0 || v < 0 || u == width || v == height;
                    if (!outside && truth.mask()(u, v) == 0) continue;
                    kept &= std::max(std::abs(u - x), std::abs(v - y)) > margin.edge;
                }
            expected += kept ? 1 : 0;
        }
    ComparisonOptions options;
    options.edge = margin.edge;
    options.dots = {margin.dot};
    options.dot_distance = margin.dot_distance;
    ASSERT_GT(expected, 0);
    EXPECT_EQ(compare(filled(width, height, 0), truth, options).count, expected);
}

INSTANTIATE_TEST_SUITE_P(Margins, FieldComparisonMargin,
                         testing::Values(Margin{0, 0, 0, {-50, 4}, 7}, Margin{9, 8, 0, {9, 8}, 0},
                                         Margin{11, 8, 2, {3.5, 3.5}, 1.5},
                                         Margin{9, 8, 3, {1e300, -1e300}, 5},
                                         Margin{22, 16, 4, {22.5, 16.5}, 6},
                                         Margin{4, 12, 1, {11, 8}, 4}));

TEST(FieldComparison, RefusesWhatCannotBeCompared) {
    EXPECT_THROW(compare(filled(4, 6, 0), filled(6, 4, 0), {}), IndexError);
    ComparisonOptions options;
    options.edge = 3;
    EXPECT_THROW(compare(filled(6, 6, 0), filled(6, 6, 0), options), AlgoError);
    EXPECT_EQ(compare(filled(7, 7, 0), filled(7, 7, 0), options).count, 1);
}

}  // namespace
}  // namespace vyn::test
