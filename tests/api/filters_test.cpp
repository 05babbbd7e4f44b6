#include "api/filters.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include <gtest/gtest.h>

#include "api/parallel.h"
#include "tests/api/pictures.h"

namespace vyn {
namespace {

using test::bits;
using test::row_of;

/// The valid pixels of a window with their Gaussian weights.
struct WindowPixel {
    float value;
    double weight;
};

std::vector<WindowPixel> window_pixels(const image& copy, int x, int y, int hx, int hy) {
    std::vector<WindowPixel> pixels;
    for (int j = std::max(0, y - hy); j <= std::min(copy.height() - 1, y + hy); ++j)
        for (int i = std::max(0, x - hx); i <= std::min(copy.width() - 1, x + hx); ++i) {
            const double u = static_cast<double>(i - x) / hx;
            const double v = static_cast<double>(j - y) / hy;
            if (copy.mask()(i, j) == 0)
                pixels.push_back({copy.values()(i, j), std::exp(-(u * u + v * v))});
        }
    return pixels;
}

double weighted_mean(const std::vector<WindowPixel>& pixels) {
    double sum = 0;
    double weights = 0;
    for (const WindowPixel& pixel : pixels) {
        sum += pixel.value * pixel.weight;
        weights += pixel.weight;
    }
    return sum / weights;
}

double result_of(std::vector<WindowPixel> pixels, FilterType type, double centre, double scale) {
    switch (type) {
        case FilterType::limits:
            break;
        case FilterType::box:
            for (WindowPixel& pixel : pixels)
                pixel.weight = 1;
            break;
        case FilterType::gauss:
            break;
        case FilterType::range_gauss:
            for (WindowPixel& pixel : pixels) {
                const double distance = (pixel.value - centre) / scale;
                pixel.weight *= std::exp(-distance * distance);
            }
            break;
        case FilterType::median:
            std::sort(pixels.begin(), pixels.end(), [](const auto& a, const auto& b) {
                return a.value < b.value || (!std::isnan(a.value) && std::isnan(b.value));
            });
            return pixels[pixels.size() / 2].value;
    }
    return weighted_mean(pixels);
}

image limited(const image& picture, const FilterOptions& options) {
    FilterOptions limits = options;
    limits.type = FilterType::limits;
    limits.iterations = 1;
    limits.dx = limits.dy = 3;
    Progress progress;
    return filtered(picture, limits, progress);
}

double finite_span(const image& copy) {
    double low = INFINITY;
    double high = -INFINITY;
    for (int y = 0; y < copy.height(); ++y)
        for (int x = 0; x < copy.width(); ++x)
            if (const double v = copy.values()(x, y); copy.mask()(x, y) == 0 && std::isfinite(v)) {
                low = std::min(low, v);
                high = std::max(high, v);
            }
    return high - low;
}

/// One pass, pixel by pixel as the definition says it.
image one_pass(const image& picture, const FilterOptions& options) {
    const image copy = limited(picture, options);
    if (options.type == FilterType::limits) return copy;
    const double p = options.fill_percent * 0.01;
    const double scale = std::max(finite_span(copy), 1e-30) * options.range_percent * 0.01;
    const int hx = options.dx / 2;
    const int hy = options.dy / 2;
    const double area = (2.0 * hx + 1) * (2.0 * hy + 1);
    image out = picture;
    for (int y = 0; y < out.height(); ++y)
        for (int x = 0; x < out.width(); ++x) {
            if (picture.has_region() && picture.region()(x, y) == 0) continue;
            const bool valid = picture.mask()(x, y) == 0;
            if (valid ? options.target == FilterTarget::holes : p <= 0.0005) continue;
            const auto pixels = window_pixels(copy, x, y, hx, hy);
            const double share = (area - static_cast<double>(pixels.size())) / area;
            const bool centre_valid = copy.mask()(x, y) == 0;
            if (!pixels.empty() && (centre_valid || share < p)) {
                const double centre = centre_valid ? copy.values()(x, y) : weighted_mean(pixels);
                out.values()(x, y) =
                    static_cast<float>(result_of(pixels, options.type, centre, scale));
                out.mask()(x, y) = 0;
            } else if (valid) {
                out.mask()(x, y) = 1;
            }
        }
    return out;
}

image by_definition(image picture, const FilterOptions& options) {
    for (int pass = 0; pass < options.iterations; ++pass)
        picture = one_pass(picture, options);
    return picture;
}

image filtered_now(const image& picture, const FilterOptions& options) {
    Progress progress;
    return filtered(picture, options, progress);
}

/// What sums in 32 bits lose of 200 counts. Far from the mean of a filled pixel's window all
/// weights of range_gauss are small and its mean moves with the rounding of the centre.
double tolerance_of(FilterType type) {
    if (type == FilterType::median) return 0;
    return type == FilterType::range_gauss ? 1e-3 : 1e-4;
}

void expect_alike(const image& own, const image& expected, double tolerance) {
    for (int y = 0; y < own.height(); ++y)
        for (int x = 0; x < own.width(); ++x) {
            ASSERT_EQ(own.mask()(x, y), expected.mask()(x, y)) << x << ", " << y;
            const double a = own.values()(x, y);
            const double b = expected.values()(x, y);
            if ((std::isnan(a) && std::isnan(b)) || a == b) continue;
            ASSERT_NEAR(a, b, tolerance) << x << ", " << y;
        }
}

struct Case {
    FilterType type;
    int dx;
    int dy;
    int fill_percent;
};

class AgainstDefinition : public testing::TestWithParam<Case> {};

TEST_P(AgainstDefinition, GivesTheSameOnEveryShapeAndInstructionSet) {
    FilterOptions options;
    options.type = GetParam().type;
    options.dx = GetParam().dx;
    options.dy = GetParam().dy;
    options.fill_percent = GetParam().fill_percent;
    options.min = -10;
    options.max = 205.5;
    const double tolerance = tolerance_of(options.type);
    for (const test::Size size : test::sizes) {
        image picture = test::random_image(size, 3, test::Values::finite);
        for (const auto target : {FilterTarget::all, FilterTarget::holes})
            for (const int iterations : {1, 2}) {
                options.target = target;
                options.iterations = iterations;
                SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << ", "
                                                << iterations << " passes");
                const image expected = by_definition(picture, options);
                std::vector<std::uint32_t> first;
                for (const char* isa : test::isa_names) {
                    const test::UsingIsa using_isa(isa);
                    const image own = filtered_now(picture, options);
                    ASSERT_NO_FATAL_FAILURE(expect_alike(own, expected, tolerance));
                    if (first.empty()) first = bits(own);
                    ASSERT_EQ(bits(own), first) << isa;
                }
            }
        picture.set_region(test::random_region(size, 4));
        options.iterations = 2;
        ASSERT_NO_FATAL_FAILURE(expect_alike(filtered_now(picture, options),
                                             by_definition(picture, options), tolerance));
    }
}

std::vector<Case> cases() {
    std::vector<Case> all{{FilterType::limits, 3, 3, 50}};
    for (const auto type :
         {FilterType::box, FilterType::gauss, FilterType::range_gauss, FilterType::median})
        for (const auto& [dx, dy] : {std::pair{2, 3}, {5, 4}, {3, 5}, {9, 7}, {41, 3}})
            for (const int fill : {0, 20, 80, 250})
                all.push_back({type, dx, dy, fill});
    return all;
}
INSTANTIATE_TEST_SUITE_P(TypesAndWindows, AgainstDefinition, testing::ValuesIn(cases()));

/// Long stretches without excluded pixels and without valid ones, which are treated apart unless
/// one of their pixels is no number.
TEST(Filters, HolesFarApart) {
    constexpr int width = 650;
    image picture = test::random_image({width, 12}, 8, test::Values::finite);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < width; ++x) {
            const bool hole = (x == 200 && y == 5) || (x > 330 && x < 470);
            picture.mask()(x, y) = hole ? std::uint8_t{1} : std::uint8_t{0};
        }
    FilterOptions options;
    for (const auto type : {FilterType::box, FilterType::gauss, FilterType::median})
        for (const int dx : {3, 5, 129, 131})
            for (const int fill : {0, 60}) {
                options.type = type;
                options.dx = dx;
                options.dy = std::min(dx, 5);
                options.fill_percent = fill;
                if (type == FilterType::median) picture.values()(100, 7) = NAN;
                for (const double min : {-1e6, -19.5}) {
                    options.min = min;
                    options.target =
                        fill > 0 && min < -20 ? FilterTarget::holes : FilterTarget::all;
                    const image expected = by_definition(picture, options);
                    for (const char* isa : test::isa_names) {
                        const test::UsingIsa using_isa(isa);
                        expect_alike(filtered_now(picture, options), expected, tolerance_of(type));
                    }
                }
            }
}

/// NaN and infinities among the valid pixels stay inside the windows that hold them.
TEST(Filters, NonFiniteValuesDoNotSpread) {
    const image picture = test::random_image({97, 83}, 5, test::Values::special);
    FilterOptions options;
    options.max = INFINITY;
    options.min = -INFINITY;
    options.fill_percent = 50;
    for (const int side : {3, 5, 7}) {
        options.dx = options.dy = side;
        options.type = FilterType::median;
        expect_alike(filtered_now(picture, options), by_definition(picture, options), 0);
        options.type = FilterType::box;
        expect_alike(filtered_now(picture, options), by_definition(picture, options),
                     tolerance_of(options.type));
    }
}

TEST(Filters, SameBitsWithAnyNumberOfThreads) {
    image picture = test::random_image({301, 203}, 6, test::Values::finite);
    FilterOptions options;
    options.fill_percent = 70;
    options.iterations = 2;
    for (int type = 1; type <= 4; ++type)
        for (const int side : {5, 9, 33}) {
            options.type = filter_type(type);
            options.dx = options.dy = side;
            const auto digest = [&](int threads) {
                const ThreadLimit limit(threads);
                return bits(filtered_now(picture, options));
            };
            const auto one = digest(1);
            EXPECT_EQ(digest(2), one) << type << ", " << side;
            EXPECT_EQ(digest(5), one) << type << ", " << side;
        }
}

/// Windows beyond the image reach all of it and no more, whatever is asked for.
TEST(Filters, AbsurdWindowsEnd) {
    const image picture = test::random_image({40, 30}, 7, test::Values::finite);
    FilterOptions options;
    for (int type = 1; type <= 4; ++type)
        for (const int side : {81, 70001, INT_MAX}) {
            options.type = filter_type(type);
            options.dx = options.dy = side;
            options.fill_percent = side == INT_MAX ? 100 : 90;
            expect_alike(filtered_now(picture, options), by_definition(picture, options),
                         tolerance_of(options.type));
        }
    options.iterations = 0;
    EXPECT_EQ(bits(filtered_now(picture, options)), bits(picture));
}

TEST(Filters, HandValues) {
    FilterOptions options;
    options.max = 100;
    options.type = FilterType::median;
    options.dx = 5;
    // of four valid values the third, above the limit clamped, below it excluded
    options.min = 2;
    image row = filtered_now(row_of({9, 500, 3, 1, 7}, {0, 0, 0, 0, 0}), options);
    EXPECT_EQ(row.values()(2, 0), 9);
    EXPECT_EQ(row.values()(4, 0), 7);
    EXPECT_EQ(row.mask()(3, 0), 1);
    EXPECT_EQ(row.values()(3, 0), 1);
    // one side below two switches everything off, limits too
    for (const auto& [dx, dy] : {std::pair{1, 5}, {5, 1}, {-3, 3}}) {
        options.dx = dx;
        options.dy = dy;
        row = row_of({9, 500, 3, 1, 7}, {0, 0, 0, 0, 0});
        EXPECT_EQ(bits(filtered_now(row, options)), bits(row));
    }
    options = {.type = FilterType::gauss, .dx = 3, .dy = 3};
    row = filtered_now(row_of({4, 8, 80}, {0, 0, 5}), options);
    const double e = std::exp(-1.0);
    EXPECT_NEAR(row.values()(0, 0), (4 + 8 * e) / (1 + e), 1e-6);
    EXPECT_NEAR(row.values()(1, 0), (4 * e + 8) / (1 + e), 1e-6);
    EXPECT_EQ(row.mask()(2, 0), 5);
    // with no range only equal values count
    options = {.type = FilterType::range_gauss, .dx = 3, .dy = 3, .range_percent = 0};
    row = filtered_now(row_of({4, 8, 8}, {0, 0, 0}), options);
    EXPECT_EQ(bits(row), bits(row_of({4, 8, 8}, {0, 0, 0})));
    // the share of a fill is that of the whole window: two of nine pixels are 7 / 9 excluded
    options = {.type = FilterType::box, .fill_percent = 77};
    row = row_of({4, 8, 80}, {0, 1, 0});
    EXPECT_EQ(filtered_now(row, options).mask()(1, 0), 1);
    options.fill_percent = 78;
    EXPECT_EQ(filtered_now(row, options).values()(1, 0), 42);
    EXPECT_EQ(filtered_now(row_of({4, 8, 80}, {1, 1, 1}), options).mask()(1, 0), 1);
}

TEST(Filters, RefuseUnknownTypesAndMissingPlanesAndStop) {
    EXPECT_THROW(filter_type(5), AlgoError);
    EXPECT_THROW(filter_type(-1), AlgoError);
    image picture(5, 5);
    picture.drop_mask();
    EXPECT_THROW(filtered_now(picture, {}), AlgoError);
    EXPECT_EQ(filtered_now(image(0, 7), {}).height(), 7);
    test::Stopped stopped;
    for (int type = 0; type <= 4; ++type)
        EXPECT_THROW(filtered(image(9, 9), {.type = filter_type(type)}, stopped), Aborted);
}

}  // namespace
}  // namespace vyn
