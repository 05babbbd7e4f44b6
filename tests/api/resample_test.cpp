#include "api/resample.h"

#include <atomic>
#include <cmath>

#include <gtest/gtest.h>

#include "api/correction.h"
#include "api/parallel.h"
#include "api/spline.h"
#include "tests/api/pictures.h"
#include "tests/support/picture_of.h"

namespace vyn {
namespace {

image random_with_region(test::Size size, unsigned seed) {
    image picture = test::random_image(size, seed, test::Values::finite);
    picture.set_region(test::random_region(size, seed + 1));
    return picture;
}

/// Pixel by pixel, as the rules say.
image resampled_by_pixels(const image& source, int width, int height, const RowMap& map) {
    Progress progress;
    const SplineCoefficients spline(source.values(), source.mask(), source.degree, source.edges,
                                    progress);
    image result(width, height);
    result.fill_region(0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double sx = 0;
            double sy = 0;
            map(x, 1, y, &sx, &sy);
            result.values()(x, y) = spline.at(sx, sy);
            const bool inside = std::trunc(sx) >= 0 && std::trunc(sx) < source.width() &&
                                std::trunc(sy) >= 0 && std::trunc(sy) < source.height();
            const int column = inside ? static_cast<int>(sx) : 0;
            const int row = inside ? static_cast<int>(sy) : 0;
            result.mask()(x, y) = inside ? source.mask()(column, row) : 1;
            result.region()(x, y) = inside ? source.region()(column, row) : 0;
        }
    return result;
}

/// A shear with a fold, non-finite and huge positions here and there.
void rough_map(int x0, int n, int y, double* source_x, double* source_y) {
    for (int i = 0; i < n; ++i) {
        const int x = x0 + i;
        source_x[i] = 1.013 * x - 0.03 * y - 1.6;
        source_y[i] = 0.99 * y + 0.02 * x - 0.9;
        if (x % 53 == 50) source_x[i] = y % 2 ? NAN : 1e200;
        if (y % 19 == 18) source_y[i] = -INFINITY;
    }
}

TEST(Resample, EqualsThePixelByPixelRules) {
    for (const char* isa : test::isa_names)
        for (const int threads : {1, 2}) {
            const test::UsingIsa using_isa(isa);
            const ThreadLimit limit(threads);
            for (const test::Size size : test::sizes) {
                image source = random_with_region(size, 21);
                source.degree = 2 + size.width % 4;
                const int width = size.width + 5;
                const int height = size.height + 3;
                Progress progress;
                const image result = resample(source, width, height, rough_map, progress);
                EXPECT_EQ(test::bits(result),
                          test::bits(resampled_by_pixels(source, width, height, rough_map)))
                    << isa << ", " << threads << " threads, " << size.width << " x " << size.height;
            }
        }
}

TEST(Resample, TruncatesTowardZeroAtTheEdges) {
    image source(4, 3);
    source.values().fill(5);
    source.fill_region(1);
    const struct {
        double x;
        double y;
        int mask;
    } cases[] = {{-0.99, 0, 0}, {-1, 0, 1},   {3.99, 0, 0}, {4, 0, 1},   {0, -0.99, 0},
                 {0, -1, 1},    {0, 2.99, 0}, {0, 3, 1},    {NAN, 0, 1}, {0, -1e300, 1}};
    for (const auto& c : cases) {
        Progress progress;
        const image result = resample(
            source, 20, 1,
            [&c](int, int n, int, double* x, double* y) {
                std::fill_n(x, n, c.x);
                std::fill_n(y, n, c.y);
            },
            progress);
        EXPECT_EQ(result.mask()(19, 0), c.mask) << c.x << ", " << c.y;
        EXPECT_EQ(result.region()(19, 0), 1 - c.mask) << c.x << ", " << c.y;
        EXPECT_TRUE(std::isfinite(result.values()(19, 0)));
    }
}

void identity(int x0, int n, int y, double* source_x, double* source_y) {
    for (int i = 0; i < n; ++i) {
        source_x[i] = x0 + i;
        source_y[i] = y;
    }
}

TEST(Resample, OfAnEmptyImageIsAllOutside) {
    image source(0, 4);
    Progress progress;
    EXPECT_EQ(resample(source, 3, 3, identity, progress).mask()(1, 1), 1);
    EXPECT_EQ(resample(image(3, 3), 0, 5, identity, progress).width(), 0);
}

TEST(Resample, RefusesBeforeAnyWork) {
    image source(5, 5);
    Progress progress;
    source.degree = 7;
    EXPECT_THROW(resample(source, 5, 5, identity, progress), AlgoError);
    source.degree = 3;
    source.drop_mask();
    EXPECT_THROW(resample(source, 5, 5, identity, progress), AlgoError);
}

class Impatient final : public Progress {
  public:
    bool aborted() const override { return ++polls_ > 20; }
    int polls() const { return polls_; }

  private:
    mutable std::atomic<int> polls_{0};
};

TEST(Undistort, StopsWhenAsked) {
    const image source = test::random_image({300, 2000}, 22, test::Values::finite);
    Impatient progress;
    EXPECT_THROW(undistort(source, {150, 1000, 1e-8, 0}, progress), Aborted);
    EXPECT_LT(progress.polls(), 40);
}

TEST(Undistort, WithoutDistortionIsACopy) {
    image source = random_with_region({37, 41}, 23);
    source.values()(3, 3) = NAN;
    source.markers.markers = {{1.5, 2.5, 0, 0, true, 1}};
    Progress progress;
    const image result = undistort(source, {18, 20, 0, 0}, progress);
    EXPECT_EQ(test::bits(result), test::bits(source));
    EXPECT_EQ(result.markers, source.markers);
}

double pattern(double x, double y) {
    return 1000 + 300 * std::sin(x / 9) * std::cos(y / 7);
}

// A picture rendered through the lens comes back as it was; its markers sit where they belong.
TEST(Undistort, RestoresARenderedScene) {
    constexpr int width = 240;
    constexpr int height = 200;
    const Distortion lens{118.3, 101.6, 3e-6, 2e-11};
    image camera = test::picture_of(width, height, [&](double x, double y) {
        const Point ideal = ideal_position(lens, {x, y});
        return pattern(ideal.x, ideal.y);
    });
    const Point marker = distorted_position(lens, {40, 60});
    camera.markers.markers = {{marker.x, marker.y, 0, 0, true, 1}};
    for (int degree = 2; degree <= 5; ++degree) {
        camera.degree = degree;
        Progress progress;
        const image result = undistort(camera, lens, progress);
        EXPECT_NEAR(result.markers.markers[0].x, 40, 1e-3);
        EXPECT_NEAR(result.markers.markers[0].y, 60, 1e-3);
        int checked = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const Point at =
                    distorted_position(lens, {static_cast<double>(x), static_cast<double>(y)});
                const bool inside = at.x > -1 && at.x < width && at.y > -1 && at.y < height;
                ASSERT_EQ(result.mask()(x, y), inside ? 0 : 1);
                if (at.x < 12 || at.y < 12 || at.x > width - 13 || at.y > height - 13) continue;
                // a quadratic spline of waves of some 45 pixels is good to 1e-4 of their height
                ASSERT_NEAR(result.values()(x, y), pattern(x, y), 0.03) << degree;
                ++checked;
            }
        EXPECT_GT(checked, width * height / 2);
    }
}

TEST(Undistort, IteratesEveryLaneLikeASinglePixel) {
    const image source = test::random_image({301, 67}, 24, test::Values::finite);
    for (const char* isa : test::isa_names)
        for (const Distortion& lens :
             {Distortion{150.5, 33.5, 2e-6, -3e-12}, Distortion{12, 50, -4e-6, 1e-11},
              Distortion{150, 33, 4e-5, 1e-9}}) {
            const test::UsingIsa using_isa(isa);
            Progress progress;
            const SplineCoefficients spline(source.values(), source.mask(), 3, source.edges,
                                            progress);
            const image result = undistort(source, lens, progress);
            for (int y = 0; y < 67; ++y)
                for (int x = 0; x < 301; ++x) {
                    const Point at =
                        distorted_position(lens, {static_cast<double>(x), static_cast<double>(y)});
                    ASSERT_EQ(result.values()(x, y), spline.at(at.x, at.y)) << isa;
                }
        }
}

}  // namespace
}  // namespace vyn
