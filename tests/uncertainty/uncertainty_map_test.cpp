#include "uncertainty/uncertainty_map.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "api/parallel.h"

namespace vyn::test {
namespace {

/// Several pieces of a row with an odd rest, several blocks of rows.
constexpr int width = 1037;
constexpr int height = 70;

image picture_of(double level, double period) {
    image picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.values()(x, y) =
                static_cast<float>(level * (1 + 0.2 * std::sin(x / period) * std::cos(y / 5.0)));
    return picture;
}

RowMap moved_by(double dx, double dy) {
    return [=](int x0, int n, int y, double* x, double* y_out) {
        for (int i = 0; i < n; ++i) {
            x[i] = 1.01 * (x0 + i) + 0.002 * y + dx;
            y_out[i] = 0.98 * y - 0.003 * (x0 + i) + dy;
        }
    };
}

/// A point with every term, one of whose pictures was sampled twice and one averaged from frames.
struct TestPoint {
    TestPoint() {
        field.name = "field_P";
        auto frames = std::make_shared<FrameStatistics>();
        frames->frames = 20;
        frames->variance = Bitmap<float>(width, height, 900);
        frames->variance(40, 30) = NAN;
        of.ratio = &ratio;
        of.field = &field;
        NoiseLine line;
        line.source = NoiseSource::transfer;
        line.offset = 9;
        line.slope = 0.5;
        line.dark = 2;
        of.pictures = {{&off, moved_by(0.3, 1.2), {}, line, &flat, false},
                       {&on, moved_by(-2.1, 3.4), moved_by(-2, 3), line, &flat, false},
                       {&other, {}, {}, line, nullptr, false}};
        of.pictures[2].noise.frames = frames;
        of.shared = {{.a = 0, .b = 1, .flat_relative = 0.002, .same_dark = true}};
        of.moved = {{{{1, -1}, {2, 1}}, uniform_variance(0.1, width, height)}};
        of.lamp = 1e-5;
        of.conversion.quantity = FieldQuantity::cp;
        of.conversion.wind_off_ratio = 1.02;
        of.conversion.static_pressure = 90000;
        of.conversion.dynamic_pressure = 5000;
        of.conditions.static_p = 30;
        of.conditions.dynamic_p = 20;
        of.law.by_log_ratio = {0, 98000, 24000};
        of.law.temperature = {1e4, 100, 10, 1, 0.1};
        of.law.reference = {100, 20, 3, 0.1, 0.01};
        of.law.law = {-5000, 30000, -200, 20, 10};
        of.keep_terms = true;
    }

    image off = picture_of(2000, 3);
    image on = picture_of(1700, 4);
    image other = picture_of(1500, 7);
    image flat = picture_of(0.8, 200);
    image ratio = picture_of(1.1, 30);
    image field = picture_of(-0.4, 30);
    UncertainPoint of;
};

std::vector<image> planes_of(const UncertainPoint& point) {
    Progress progress;
    UncertaintyMap map = uncertainty_map(point, progress);
    std::vector<image> planes = std::move(map.terms);
    planes.insert(planes.end(), {map.total, map.common, map.area});
    return planes;
}

void expect_same_bits(const image& a, const image& b, const Bitmap<std::uint8_t>& mask) {
    int different = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            different += mask(x, y) == 0 &&
                         std::memcmp(&a.values()(x, y), &b.values()(x, y), sizeof(float)) != 0;
    EXPECT_EQ(different, 0) << a.name;
}

TEST(UncertaintyMap, HasTheSameBitsOnAnyInstructionSetAndNumberOfThreads) {
    TestPoint point;
    point.of.filter = FilterOptions{.type = FilterType::median};
    point.of.pictures[1].filtered = true;
    const auto planes_by = [&](const char* isa, int threads) {
        setenv("VYNLITE_ISA", isa, 1);
        const ThreadLimit limit(threads);
        std::vector<image> planes = planes_of(point.of);
        unsetenv("VYNLITE_ISA");
        return planes;
    };
    const std::vector<image> expected = planes_by("base", 1);
    for (const image& plane : expected)
        EXPECT_GT(plane.values()(20, 30), 0) << plane.name << " is no part of this point";
    for (const char* isa : {"base", "avx2", "avx512"}) {
        const std::vector<image> planes = planes_by(isa, 2);
        for (std::size_t i = 0; i < planes.size(); ++i)
            expect_same_bits(planes[i], expected[i], point.field.mask());
    }
}

/// Rows end where their last valid pixel is, and whole parts of them may have none.
TEST(UncertaintyMap, LeavesExcludedPixelsOut) {
    TestPoint point;
    const std::vector<image> whole = planes_of(point.of);
    Bitmap<std::uint8_t>& mask = point.field.mask();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            mask(x, y) = x < 10 * y || x > width - 7 * y || (x + y) % 29 == 0 ? 1 : 0;
    Progress progress;
    const UncertaintyMap map = uncertainty_map(point.of, progress);
    std::int64_t valid = 0;
    double largest = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const float sigma = map.total.values()(x, y);
            if (mask(x, y) != 0) {
                ASSERT_EQ(sigma, 0) << x << ", " << y;
                continue;
            }
            ++valid;
            largest = std::max(largest, double(sigma));
        }
    EXPECT_EQ(map.budget.valid, valid);
    EXPECT_EQ(map.budget.largest, largest);
    const std::vector<image> planes = planes_of(point.of);
    for (std::size_t i = 0; i < planes.size(); ++i)
        expect_same_bits(planes[i], whole[i], mask);
}

TEST(UncertaintyMap, SumsUpItsTermsOverTheValidPixels) {
    TestPoint point;
    for (int y = 0; y < height; ++y)
        point.field.mask()(3 * y, y) = 1;
    Progress progress;
    const UncertaintyMap map = uncertainty_map(point.of, progress);
    for (std::size_t i = 0; i < sigma_term_count; ++i) {
        double sum = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                sum += std::pow(double(map.terms[i].values()(x, y)), 2);
        const double rms = std::sqrt(sum / double(map.budget.valid));
        EXPECT_NEAR(map.budget.lines[i].rms, rms, 1e-6 * rms) << map.terms[i].name;
    }
}

}  // namespace
}  // namespace vyn::test
