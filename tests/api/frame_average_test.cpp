#include "api/frame_average.h"

#include <cmath>

#include <gtest/gtest.h>

#include "api/parallel.h"
#include "core/errors.h"
#include "tests/support/picture_of.h"

namespace vyn::test {
namespace {

Progress progress;

/// Frames of one row of three pixels; NaN is excluded.
std::vector<image> frames_of(const std::vector<std::array<double, 3>>& rows) {
    std::vector<image> frames;
    for (const auto& row : rows) {
        frames.push_back(
            picture_of(3, 1, [&](int x, int) { return row[static_cast<std::size_t>(x)]; }));
        for (int x = 0; x < 3; ++x)
            frames.back().mask()(x, 0) = std::isnan(row[static_cast<std::size_t>(x)]) ? 1 : 0;
    }
    return frames;
}

constexpr double none = NAN;

TEST(FrameAverage, KnowsMeanMedianAndClippedMean) {
    // The second pixel has an outlier, the third is valid in two frames only.
    const auto frames =
        frames_of({{1, 10, none}, {2, 11, 4}, {3, 12, none}, {4, 13, 8}, {10, 1000, none}});
    const image mean = average(frames, {}, progress);
    EXPECT_FLOAT_EQ(mean.values()(0, 0), 4);
    EXPECT_FLOAT_EQ(mean.values()(1, 0), 209.2F);
    EXPECT_FLOAT_EQ(mean.values()(2, 0), 6);
    EXPECT_EQ(mean.frames->frames, 5);
    EXPECT_FLOAT_EQ(mean.frames->variance(0, 0), 12.5F);
    EXPECT_FLOAT_EQ(mean.frames->variance(2, 0), 8);
    const image middle = average(frames, {.method = AverageMethod::median}, progress);
    EXPECT_EQ(middle.values()(0, 0), 3);
    EXPECT_EQ(middle.values()(2, 0), 6);
    EXPECT_EQ(middle.frames->frames, 3);
    const image clipped = average(frames, {.method = AverageMethod::clipped_mean}, progress);
    EXPECT_FLOAT_EQ(clipped.values()(0, 0), 2.5F);
    EXPECT_FLOAT_EQ(clipped.values()(1, 0), 11.5F);
    EXPECT_FLOAT_EQ(clipped.values()(2, 0), 6);
    EXPECT_NEAR(clipped.frames->variance(1, 0), 5.0 / 3, 1e-6);
}

TEST(FrameAverage, ExcludesWhatNoFrameShowsAndKeepsWhatAllSay) {
    auto frames = frames_of({{1, none, 3}, {3, none, 5}});
    frames[0].exposure = frames[1].exposure = 0.5;
    frames[1].saturated = std::make_shared<Bitmap<std::uint8_t>>(3, 1, std::uint8_t{1});
    image result = average(frames, {}, progress);
    EXPECT_EQ(result.mask()(0, 0), 0);
    EXPECT_EQ(result.mask()(1, 0), 1);
    EXPECT_TRUE(std::isnan(result.frames->variance(1, 0)));
    EXPECT_EQ(result.exposure, 0.5);
    ASSERT_TRUE(result.saturated);
    frames[1].exposure = 0.25;
    EXPECT_FALSE(average(frames, {}, progress).exposure);
    EXPECT_THROW(average({}, {}, progress), AlgoError);
    EXPECT_THROW(average(frames, {.clip = 0}, progress), AlgoError);
    frames.emplace_back(4, 1);
    EXPECT_THROW(average(frames, {}, progress), DimError);
}

}  // namespace
}  // namespace vyn::test
