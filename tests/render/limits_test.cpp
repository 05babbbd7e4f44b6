#include "render/limits.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "api/parallel.h"
#include "tests/support/picture_of.h"

namespace vyn {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// Noise with excluded, NaN and infinite pixels; `valid` gets the values that count, sorted.
image noisy_image(std::vector<double>& valid) {
    image picture(301, 203);
    std::mt19937 random(5);
    std::normal_distribution<float> noise(-3, 40);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const float value = x % 17 == 0 ? nan : x % 19 == 0 ? -infinity : noise(random);
            picture.values()(x, y) = value;
            picture.mask()(x, y) = y % 5 == 0;
            if (std::isfinite(value) && y % 5 != 0) valid.push_back(value);
        }
    std::sort(valid.begin(), valid.end());
    return picture;
}

TEST(Limits, ComeFromTheValidFiniteValues) {
    std::vector<double> valid;
    const image picture = noisy_image(valid);
    Progress progress;
    const ValueSummary summary = summarise(picture, progress);
    const auto n = static_cast<double>(valid.size());
    double mean = 0;
    for (const double value : valid)
        mean += value / n;
    double variance = 0;
    for (const double value : valid)
        variance += (value - mean) * (value - mean) / n;
    EXPECT_EQ(summary.count, static_cast<std::int64_t>(valid.size()));
    EXPECT_EQ(summary.extremes(), (Limits{valid.front(), valid.back()}));
    EXPECT_NEAR(summary.mean, mean, 1e-9);
    EXPECT_NEAR(summary.sigma, std::sqrt(variance), 1e-9);
    EXPECT_NEAR(summary.three_sigma().minimum, mean - 3 * std::sqrt(variance), 1e-8);

    // Nearest rank: exactly the sorted values.
    const auto ranked = [&](double percent) {
        return valid[static_cast<std::size_t>(std::max(std::ceil(percent / 100 * n) - 1, 0.0))];
    };
    EXPECT_EQ(percentiles(picture, 0, 100, progress), summary.extremes());
    EXPECT_EQ(percentiles(picture, 2.5, 50, progress), (Limits{ranked(2.5), ranked(50)}));
    EXPECT_EQ(robust_limits(picture, progress), (Limits{ranked(0.5), ranked(99.5)}));
}

TEST(Limits, HistogramCountsEveryValueOnce) {
    std::vector<double> valid;
    const image picture = noisy_image(valid);
    Progress progress;
    const Limits range{-50, 60};
    const Histogram histogram = make_histogram(picture, range, 11, progress);
    std::vector<std::int64_t> expected(11);
    std::int64_t below = 0;
    std::int64_t above = 0;
    for (const double value : valid)
        if (value < -50)
            ++below;
        else if (value > 60)
            ++above;
        else
            ++expected[static_cast<std::size_t>(std::min((value + 50) / 10, 10.0))];
    EXPECT_EQ(histogram.counts, expected);
    EXPECT_EQ(histogram.below, below);
    EXPECT_EQ(histogram.above, above);
    const Histogram whole = make_histogram(picture, {valid.front(), valid.back()}, 7, progress);
    EXPECT_EQ(whole.below + whole.above, 0);
    EXPECT_GE(whole.counts.back(), 1);
}

TEST(Limits, ThreadsDoNotShowInTheBits) {
    std::vector<double> valid;
    const image picture = noisy_image(valid);
    const auto measured = [&](int threads) {
        const ThreadLimit limit(threads);
        Progress progress;
        const ValueSummary summary = summarise(picture, progress);
        return std::tuple(summary.mean, summary.sigma,
                          percentiles(picture, 1, 99, progress).maximum,
                          make_histogram(picture, {-9, 9}, 100, progress).counts);
    };
    EXPECT_EQ(measured(1), measured(3));
}

TEST(Limits, OfDegenerateImagesAreUsable) {
    Progress progress;
    image constant(3, 3);
    constant.values().fill(-100);
    image none = constant;
    none.mask().fill(1);
    for (const image& picture : {constant, none, image(0, 0)}) {
        EXPECT_EQ(complaint_about(robust_limits(picture, progress)), "");
        EXPECT_EQ(summarise(picture, progress).sigma, 0);
    }
    EXPECT_EQ(percentiles(none, 1, 99, progress), (Limits{0, 0}));
    // One wild pixel in a constant image still shows.
    constant.values()(1, 1) = 7;
    EXPECT_EQ(robust_limits(constant, progress).maximum, 7);

    for (const Limits& range :
         {Limits{-100, -100}, Limits{nan, nan}, Limits{-infinity, infinity}}) {
        const Histogram histogram = make_histogram(constant, range, 0, progress);
        ASSERT_EQ(histogram.counts.size(), 1U);
        EXPECT_EQ(histogram.below + histogram.counts[0] + histogram.above, 9);
    }
    EXPECT_NE(complaint_about({1, 1}), "");
    EXPECT_NE(complaint_about({0, infinity}), "");
    EXPECT_NE(complaint_about({nan, 1}), "");
}

TEST(Limits, SummaryKeepsDigitsFarFromZero) {
    image picture =
        test::picture_of(1000, 100, [](int x, int) { return 1e7F + static_cast<float>(x % 2); });
    Progress progress;
    EXPECT_DOUBLE_EQ(summarise(picture, progress).sigma, 0.5);
}

}  // namespace
}  // namespace vyn
