#include "render/line_profile.h"

#include <cmath>

#include <gmock/gmock.h>

#include "core/errors.h"
#include "tests/support/error_of.h"
#include "tests/support/picture_of.h"

namespace vyn {
namespace {

/// value = 10 + 2 x + 3 y, which bilinear interpolation renders exactly.
image ramp() {
    return test::picture_of(20, 15, [](int x, int y) { return 10 + 2 * x + 3 * y; });
}

TEST(LineProfile, OfARampIsTheRampWhateverTheLineAndTheWidth) {
    const std::pair<Point, Point> lines[] = {
        {{2, 3}, {12, 3}}, {{4.5, 11.25}, {4.5, 3}}, {{15.2, 9.1}, {5.7, 4.3}}, {{5, 5}, {5, 5}}};
    for (const auto& [from, to] : lines)
        for (const int width : {1, 2, 5}) {
            const LineProfile profile = sample_profile(ramp(), from, to, width);
            EXPECT_DOUBLE_EQ(profile.length, std::hypot(to.x - from.x, to.y - from.y));
            EXPECT_EQ(profile.samples.size(), std::ceil(profile.length) + 1);
            EXPECT_EQ(profile.samples.front().place, from);
            EXPECT_NEAR(profile.samples.back().place.x, to.x, 1e-12);
            EXPECT_DOUBLE_EQ(profile.samples.back().distance, profile.length);
            for (const ProfileSample& sample : profile.samples)
                EXPECT_NEAR(sample.value, 10 + 2 * sample.place.x + 3 * sample.place.y, 1e-5);
        }
}

TEST(LineProfile, ExcludedAndOutsidePixelsAreGaps) {
    image picture = ramp();
    picture.mask()(6, 5) = 1;
    const auto valid = [](const LineProfile& profile) {
        std::string text;
        for (const ProfileSample& sample : profile.samples)
            text += std::isnan(sample.value) ? '.' : '#';
        return text;
    };
    const LineProfile broken = sample_profile(picture, {4, 5}, {9, 5}, 1);
    EXPECT_EQ(valid(broken), "##.###");
    ASSERT_EQ(unbroken_parts(broken).size(), 2U);
    EXPECT_EQ(unbroken_parts(broken)[1].size(), 3U);
    EXPECT_EQ(value_at(broken, 0.25), 10 + 2 * 4.25 + 3 * 5);
    EXPECT_EQ(value_at(broken, 5), 10 + 2 * 9 + 3 * 5);
    for (const double nowhere : {1.5, 2.5, -0.1, 5.1, std::nan("")})
        EXPECT_EQ(value_at(broken, nowhere), std::nullopt);
    EXPECT_EQ(valid(sample_profile(picture, {4.5, 5}, {9.5, 5}, 1)), "#..###")
        << "both neighbours of the excluded pixel take part of it";
    EXPECT_EQ(valid(sample_profile(picture, {4, 5.5}, {9, 5.5}, 1)), "##.###");
    EXPECT_EQ(valid(sample_profile(picture, {-2, 0}, {2, 0}, 1)), "..###");
    EXPECT_EQ(valid(sample_profile(picture, {17, 14}, {21, 14}, 1)), "###..");
    const LineProfile band = sample_profile(picture, {6, 4}, {6, 5}, 3);
    EXPECT_DOUBLE_EQ(band.samples.back().value, (10 + 2 * 5 + 3 * 5 + 10 + 2 * 7 + 3 * 5) / 2.0)
        << "the mean of the two valid ones";
}

TEST(LineProfile, RefusesWhatIsNoLine) {
    for (const double wrong : {std::nan(""), 1e300, 2e5})
        test::error_of<AlgoError>([&] { sample_profile(ramp(), {0, 0}, {wrong, 0}, 1); });
    test::error_of<AlgoError>([&] { sample_profile(ramp(), {0, 0}, {1, 0}, 0); });
    test::error_of<AlgoError>([&] { sample_profile(ramp(), {0, 0}, {1, 0}, widest_profile + 1); });
}

TEST(LineProfile, WritesOneRowPerSampleWithEmptyGaps) {
    image picture = ramp();
    picture.mask()(1, 0) = 1;
    const LineProfile profiles[] = {sample_profile(picture, {0, 0}, {2, 0}, 1),
                                    sample_profile(picture, {0.5, 2}, {0.5, 2}, 1)};
    EXPECT_EQ(profile_csv(profiles),
              "line,distance,x,y,value\n"
              "1,0,0,0,10\n1,1,1,0,\n1,2,2,0,14\n"
              "2,0,0.5,2,17\n");
}

/// A pixel has its own deviation, a mean of four the common one and half of the random one.
TEST(LineProfile, KnowsHowSureItIs) {
    const auto even = [](float value) {
        image sigma = ramp();
        for (int y = 0; y < sigma.height(); ++y)
            std::fill_n(sigma.values().row(y), sigma.width(), value);
        return sigma;
    };
    const image total = even(7);
    const image common = even(3);
    const image area = even(8);
    LineProfile profile = sample_profile(ramp(), {4, 5}, {6, 5}, 1);
    add_sigmas(profile, {total, common, area}, 1);
    EXPECT_EQ(profile.samples[1].sigma, 7);
    add_sigmas(profile, {total, common, area}, 4);
    EXPECT_NEAR(profile.samples[1].sigma, 5, 1e-12);
    EXPECT_THAT(profile_csv({&profile, 1}),
                testing::AllOf(testing::StartsWith("line,distance,x,y,value,sigma\n"),
                               testing::HasSubstr(",5\n")));
}

}  // namespace
}  // namespace vyn
