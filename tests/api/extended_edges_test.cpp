#include "api/extended_edges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "api/parallel.h"
#include "api/point.h"
#include "api/resample.h"
#include "api/spline.h"
#include "tests/api/pictures.h"

namespace vyn {
namespace {

constexpr int side = 300;
constexpr Point shift{0.37, 0.81};

/// Shaded paint.
double paint(double x, double y) {
    return 1800 + 500 * std::sin(x / 31 + y / 70) + 200 * std::cos(x * y / 4000 + y / 40);
}

/// An oval model with a straight cut, round holes and a dead pixel; counts that are no paint in the
/// excluded pixels.
bool is_model(int x, int y) {
    const double u = (x - 150.3) / 130;
    const double v = (y - 140.8) / 120;
    const bool hole = std::hypot(x - 100, y - 120) < 4.2 || std::hypot(x - 210.4, y - 130) < 9;
    return u * u + v * v < 1 && x + 2 * y < 460 && !hole && !(x == 150 && y == 90);
}

image model_on_ground(float ground) {
    image picture(side, side);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            picture.mask()(x, y) = is_model(x, y) ? 0 : 1;
            picture.values()(x, y) = is_model(x, y) ? static_cast<float>(paint(x, y)) : ground;
        }
    return picture;
}

void shifted(int x0, int n, int y, double* source_x, double* source_y) {
    for (int i = 0; i < n; ++i) {
        source_x[i] = x0 + i + shift.x;
        source_y[i] = y + shift.y;
    }
}

struct Misses {
    double worst = 0;
    double squares = 0;
    int count = 0;
    double rms() const { return std::sqrt(squares / count); }
};

/// What the shifted picture misses the truth by, among valid pixels whose nearest excluded source
/// pixel is that many columns or rows away from the one that they were truncated to; by distance, 1
/// to 3, and 0 for all others.
template <class Truth>
std::array<Misses, 4> misses_beside_edges(image source, SplineEdges edges, int degree,
                                          Truth truth) {
    source.edges = edges;
    source.degree = degree;
    const Bitmap<std::uint8_t>& mask = std::as_const(source).mask();
    Progress progress;
    const image result = resample(source, side, side, shifted, progress);
    std::array<Misses, 4> misses{};
    for (int y = 4; y < side - 4; ++y)
        for (int x = 4; x < side - 4; ++x) {
            if (result.mask()(x, y) != 0) continue;
            std::size_t distance = 0;
            for (int reach = 3; reach >= 1; --reach)
                for (int i = -reach; i <= reach; ++i)
                    if (mask(x + i, y - reach) || mask(x + i, y + reach) ||
                        mask(x - reach, y + i) || mask(x + reach, y + i))
                        distance = static_cast<std::size_t>(reach);
            const double miss = std::abs(result.values()(x, y) - truth(x + shift.x, y + shift.y));
            Misses& group = misses[distance];
            group.worst = std::max(group.worst, miss);
            group.squares += miss * miss;
            ++group.count;
        }
    return misses;
}

TEST(ExtendedEdges, KeepExcludedCountsOutOfTheModel) {
    for (const float ground : {55.0F, 60000.0F})
        for (int degree = 2; degree <= 5; ++degree) {
            const image picture = model_on_ground(ground);
            const auto stored = misses_beside_edges(picture, SplineEdges::stored, degree, paint);
            const auto extended =
                misses_beside_edges(picture, SplineEdges::extended, degree, paint);
            for (const std::size_t distance : {1U, 2U, 3U})
                EXPECT_LT(100 * extended[distance].worst, stored[distance].worst)
                    << degree << ", " << distance << " px from the edge";
            // some counts per pixel of slope, a third of a count of bend
            EXPECT_LT(extended[1].worst, 8) << degree;
            EXPECT_LT(extended[2].worst, 1) << degree;
            EXPECT_LT(extended[0].worst, 0.1) << degree;
        }
}

/// Half a pixel of extrapolation costs some noise beside the edge, none behind the first pixel.
TEST(ExtendedEdges, DoNotBlowUpNoise) {
    image picture = model_on_ground(55);
    const image noise = test::random_image({side, side}, 31, test::Values::finite);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            picture.values()(x, y) = noise.values()(x, y);
    for (int degree = 2; degree <= 5; ++degree) {
        const auto misses = misses_beside_edges(picture, SplineEdges::extended, degree,
                                                [](double, double) { return 100.0; });
        EXPECT_LT(misses[1].rms(), 1.3 * misses[0].rms()) << degree;
        EXPECT_LT(misses[2].rms(), 1.1 * misses[0].rms()) << degree;
    }
}

/// Half-lit pixels of a blurred outline, above the level that excludes, are found among noise.
TEST(ExtendedEdges, FindHalfLitPixelsAmongNoise) {
    const image noise = test::random_image({side, side}, 34, test::Values::finite);
    image picture(side, side);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const double inside = 120.3 - std::hypot(x - 150.2, y - 149.7);
            const double lit = 0.5 * std::erfc(-inside / 0.9);
            const double light = lit * paint(x, y) + (noise.values()(x, y) - 100) / 8;
            picture.values()(x, y) = static_cast<float>(light);
            picture.mask()(x, y) = light < 0.08 * paint(x, y) ? 1 : 0;
        }
    const auto misses = misses_beside_edges(picture, SplineEdges::extended, 3, paint);
    EXPECT_LT(misses[2].rms(), 1.5 * misses[0].rms());
    EXPECT_LT(misses[3].rms(), 1.1 * misses[0].rms());
}

/// Whatever is stored in excluded pixels, whoever computes.
TEST(ExtendedEdges, HaveTheSameBitsEverywhere) {
    for (const test::Size size : test::sizes) {
        image picture = test::random_image(size, 32, test::Values::special);
        picture.edges = SplineEdges::extended;
        picture.degree = 2 + size.height % 4;
        std::vector<std::uint32_t> first;
        for (const float stored : {0.0F, -3e38F, NAN, INFINITY})
            for (const char* isa : test::isa_names)
                for (const int threads : {1, 2}) {
                    const test::UsingIsa using_isa(isa);
                    const ThreadLimit limit(threads);
                    for (int y = 0; y < size.height; ++y)
                        for (int x = 0; x < size.width; ++x)
                            if (picture.mask()(x, y) != 0) picture.values()(x, y) = stored;
                    Progress progress;
                    const SplineCoefficients spline(picture.values(), picture.mask(),
                                                    picture.degree, picture.edges, progress);
                    for (int y = 0; y < size.height; ++y)
                        for (int x = 0; x < size.width; ++x)
                            ASSERT_TRUE(std::isfinite(spline.at(x, y)));
                    const std::vector<std::uint32_t> all = test::bits(spline.padded());
                    if (first.empty()) first = all;
                    ASSERT_EQ(all, first) << isa << ", " << threads << " threads, " << stored
                                          << ", " << size.width << " x " << size.height;
                }
    }
}

TEST(ExtendedEdges, ChangeNothingWithoutExcludedPixelsAndAreZeroWithoutOthers) {
    const image noise = test::random_image({70, 45}, 33, test::Values::finite);
    Progress progress;
    for (const bool valid : {true, false}) {
        const Bitmap<std::uint8_t> mask(70, 45, valid ? 0 : 1);
        const SplineCoefficients extended(noise.values(), mask, 3, SplineEdges::extended, progress);
        const SplineCoefficients other(valid ? noise.values() : Bitmap<float>(70, 45, 0), mask, 3,
                                       SplineEdges::stored, progress);
        EXPECT_EQ(test::bits(extended.padded()), test::bits(other.padded()));
    }
}

}  // namespace
}  // namespace vyn
