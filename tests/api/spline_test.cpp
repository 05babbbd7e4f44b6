#include "api/spline.h"

#include <cmath>
#include <limits>
#include <numeric>

#include <gtest/gtest.h>

#include "api/parallel.h"
#include "tests/api/pictures.h"
#include "tests/support/error_of.h"
#include "tests/support/picture_of.h"

namespace vyn {
namespace {

constexpr double largest = 220;  // of the random values

SplineCoefficients spline_of(const image& picture, int degree) {
    Progress progress;
    return {picture.values(), picture.mask(), degree, picture.edges, progress};
}

/// Rounding of float coefficients: the prefilter of one direction amplifies values by at most
/// |sum of its impulse response| (2, 3, 4.8 and 7.5 for degrees 2 to 5), two directions by its
/// square; a handful of roundings happen at that size.
double tolerance(int degree) {
    const double norm[] = {2, 3, 4.8, 7.5};
    const double n = norm[degree - 2];
    return 8 * n * n * largest * std::numeric_limits<float>::epsilon();
}

class SplineDegree : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(All, SplineDegree, testing::Values(2, 3, 4, 5));

TEST_P(SplineDegree, InterpolatesItsPixels) {
    for (const test::Size size : test::sizes) {
        const image picture = test::random_image(size, 11, test::Values::finite);
        const SplineCoefficients spline = spline_of(picture, GetParam());
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x)
                ASSERT_NEAR(spline.at(x, y), picture.values()(x, y), tolerance(GetParam()))
                    << x << ", " << y << " of " << size.width << " x " << size.height;
    }
}

// Away from the borders, whose mirror is no polynomial, by more than the prefilter reaches.
TEST_P(SplineDegree, ReproducesPolynomialsOfItsDegree) {
    const int degree = GetParam();
    const auto value = [degree](double x, double y) {
        const double u = (x - 60) / 60;
        const double v = (y - 50) / 50;
        return 100 * (std::pow(u, degree) - std::pow(v, degree) + u * v + 0.5 * u);
    };
    image picture = test::picture_of(120, 100, value);
    const SplineCoefficients spline = spline_of(picture, degree);
    for (int i = 0; i < 200; ++i) {
        const double x = 30 + 0.297 * i;
        const double y = 69 - 0.193 * i;
        ASSERT_NEAR(spline.at(x, y), value(x, y), tolerance(degree)) << x << ", " << y;
    }
}

TEST_P(SplineDegree, MirrorsItsBorders) {
    constexpr int around = 60;
    for (const test::Size size : {test::Size{23, 17}, {2, 9}, {1, 4}}) {
        const image picture = test::random_image(size, 12, test::Values::finite);
        const auto mirrored = [](int i, int length) {  // walks to and fro
            int position = 0;
            int step = 1;
            for (int k = 0; k < std::abs(i) && length > 1; ++k) {
                if (position + step < 0 || position + step >= length) step = -step;
                position += step;
            }
            return position;
        };
        image larger =
            test::picture_of(size.width + 2 * around, size.height + 2 * around, [&](int x, int y) {
                return picture.values()(mirrored(x - around, size.width),
                                        mirrored(y - around, size.height));
            });
        const SplineCoefficients spline = spline_of(picture, GetParam());
        const SplineCoefficients reference = spline_of(larger, GetParam());
        for (int i = 0; i < 40; ++i)
            for (int j = 0; j < 40; ++j) {
                const double x = -24.3 + (size.width + 48) * i / 39.0;
                const double y = -24.7 + (size.height + 48) * j / 39.0;
                ASSERT_NEAR(spline.at(x, y), reference.at(x + around, y + around),
                            2 * tolerance(GetParam()))
                    << x << ", " << y;
            }
    }
}

/// Rows of positions: smooth ones as a map makes them, skipping, repeating and changing rows, then
/// scattered ones inside, outside, far away and no numbers at all.
struct Positions {
    std::vector<double> x;
    std::vector<double> y;
};

Positions positions_for(test::Size size) {
    std::mt19937 random(13);
    const auto uniform = [&random](double from, double to) {
        return std::uniform_real_distribution<double>(from, to)(random);
    };
    Positions p;
    const auto add = [&p](double x, double y) {
        p.x.push_back(x);
        p.y.push_back(y);
    };
    for (const double scale : {1.0, 1.0007, 1.07, 0.93, 1.7, 3.1, -1.0})
        for (const double slope : {0.0, 0.003, -0.04, 0.3})
            for (int i = 0; i < size.width + 3; ++i)
                add((scale < 0 ? size.width - 1 : 0.31) + scale * i, size.height * 0.4 + slope * i);
    for (int i = 0; i < 500; ++i)
        add(uniform(0, size.width - 1), uniform(0, size.height - 1));
    for (int i = 0; i < 500; ++i)
        add(uniform(-3.0 * size.width - 5, 4.0 * size.width + 5),
            uniform(-3.0 * size.height - 5, 4.0 * size.height + 5));
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double odd : {0.0, -0.0, -0.5, size.width - 1.0, size.width - 0.5, 1e8, -1.1e9,
                             1e300, nan, infinity, -infinity}) {
        add(odd, 0.25);
        add(0.25, odd);
    }
    return p;
}

TEST_P(SplineDegree, GivesTheSameBitsBySingleAndByRow) {
    for (const char* isa : test::isa_names) {
        const test::UsingIsa using_isa(isa);
        for (const test::Size size : test::sizes) {
            const image picture = test::random_image(size, 14, test::Values::finite);
            const SplineCoefficients spline = spline_of(picture, GetParam());
            const Positions p = positions_for(size);
            std::vector<float> row(p.x.size());
            SplineEvaluation evaluate(spline);
            evaluate(p.x.data(), p.y.data(), static_cast<int>(p.x.size()), row.data());
            for (std::size_t i = 0; i < row.size(); ++i)
                ASSERT_EQ(row[i], spline.at(p.x[i], p.y[i]))
                    << isa << ": " << p.x[i] << ", " << p.y[i] << " of " << size.width << " x "
                    << size.height;
        }
    }
}

TEST_P(SplineDegree, HasTheSameBitsWithAnyThreadsAndInstructions) {
    for (const test::Size size : test::sizes) {
        const image picture = test::random_image(size, 15, test::Values::special);
        std::vector<std::uint32_t> first;
        for (const char* isa : test::isa_names)
            for (const int threads : {1, 2}) {
                const test::UsingIsa using_isa(isa);
                const ThreadLimit limit(threads);
                const auto all = test::bits(spline_of(picture, GetParam()).padded());
                if (first.empty()) first = all;
                ASSERT_EQ(all, first)
                    << isa << ", " << threads << " threads, " << size.width << " x " << size.height;
            }
    }
}

TEST(SplineCoefficients, ReplaceOnlyWhatIsNotFinite) {
    image picture = test::random_image({40, 30}, 16, test::Values::finite);
    image patched = picture;
    double sum = 0;
    double count = 0;
    const auto hole = [](int x, int y) { return (x * 7 + y * 3) % 31 == 0; };
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) {
            if (hole(x, y)) {
                picture.values()(x, y) = x % 2 ? NAN : -INFINITY;
            } else if (picture.mask()(x, y) == 0) {
                sum += picture.values()(x, y);
                ++count;
            }
        }
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            if (hole(x, y)) patched.values()(x, y) = static_cast<float>(sum / count);
    EXPECT_EQ(test::bits(spline_of(picture, 3).padded()),
              test::bits(spline_of(patched, 3).padded()));
}

TEST(SplineCoefficients, OfNothingFiniteAreZero) {
    image picture(3, 3);
    picture.values().fill(NAN);
    EXPECT_EQ(spline_of(picture, 3).at(1.5, 0.5), 0.0F);
}

TEST(SplineCoefficients, RefuseOtherDegreesAndSizes) {
    const image picture(4, 4);
    for (const int degree : {-1, 0, 1, 6}) {
        EXPECT_EQ(test::error_of<AlgoError>([&] { spline_of(picture, degree); }).detail,
                  "Invalid spline degree");
    }
    Progress progress;
    EXPECT_THROW(SplineCoefficients(picture.values(), Bitmap<std::uint8_t>(4, 5), 3, picture.edges,
                                    progress),
                 DimError);
}

}  // namespace
}  // namespace vyn
