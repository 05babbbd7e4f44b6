#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "api/correction.h"
#include "api/field_conversion.h"
#include "api/pixel_ops.h"
#include "core/errors.h"
#include "tests/api/pictures.h"

namespace vyn {
namespace {

using test::bits;
using test::random_image;
using test::Values;

/// Calls `check` for every size under every instruction set.
template <class Check>
void for_each_size_and_isa(Check check) {
    for (const char* isa : test::isa_names) {
        const test::UsingIsa using_isa(isa);
        for (const test::Size size : test::sizes) {
            SCOPED_TRACE(std::string(isa) + ", " + std::to_string(size.width) + " x " +
                         std::to_string(size.height));
            check(size);
        }
    }
}

image corrected_by_steps(const image& source, float level, const image* dark, const image* flat) {
    image copy = source;
    copy.fill_region(1);
    if (level > 0) exclude_below(copy, level);
    if (dark) {
        subtract(copy, *dark);
        exclude_below(copy, 0);
    }
    if (flat) divide(copy, *flat);
    return copy;
}

TEST(CorrectIntensity, EqualsItsSteps) {
    for_each_size_and_isa([](test::Size size) {
        const image source = random_image(size, 1, Values::special);
        const image dark = random_image(size, 2, Values::special);
        const image flat = random_image(size, 3, Values::special);
        Progress progress;
        for (const float level : {-10.0F, 0.0F, 90.0F, NAN})
            for (const image* d : {&dark, static_cast<const image*>(nullptr)})
                for (const image* f : {&flat, static_cast<const image*>(nullptr)})
                    EXPECT_EQ(bits(correct_intensity(source, level, d, f, progress)),
                              bits(corrected_by_steps(source, level, d, f)));
    });
}

TEST(CorrectIntensity, RefusesOtherSizes) {
    const image source = random_image({5, 4}, 1, Values::finite);
    Progress progress;
    const image other = random_image({4, 5}, 2, Values::finite);
    EXPECT_THROW(correct_intensity(source, 0, &other, nullptr, progress), IndexError);
    EXPECT_THROW(correct_intensity(source, 0, nullptr, &other, progress), IndexError);
}

image with_region(image picture, unsigned seed) {
    picture.set_region(test::random_region({picture.width(), picture.height()}, seed));
    return picture;
}

TEST(FormRatio, EqualsItsSteps) {
    for_each_size_and_isa([](test::Size size) {
        const image plain = random_image(size, 4, Values::special);
        const image on = random_image(size, 5, Values::special);
        Progress progress;
        for (const image& off : {plain, with_region(plain, 6)})
            for (const RatioLimits limits :
                 {RatioLimits{}, RatioLimits{true, 0.5F, 2}, RatioLimits{true, 2, 0.5F}}) {
                image expected = off;
                divide(expected, on);
                if (limits.clamp) {
                    clamp_above(expected, limits.upper);
                    clamp_below(expected, limits.lower);
                }
                EXPECT_EQ(bits(form_ratio(off, on, limits, progress)), bits(expected));
            }
    });
}

/// The law pixel by pixel, in the plain order of operations.
image converted_by_steps(const image& ratio, const FieldConversion& c) {
    image field = ratio;
    for (int y = 0; y < field.height(); ++y)
        for (int x = 0; x < field.width(); ++x) {
            if (field.mask()(x, y) != 0 || c.quantity == FieldQuantity::ratio) continue;
            const double r = field.values()(x, y) * c.wind_off_ratio;
            const double p = (c.law.c * r + c.law.b) * r + c.law.a;
            const double result =
                c.quantity == FieldQuantity::cp ? (p - c.static_pressure) / c.dynamic_pressure
                : c.quantity == FieldQuantity::p_over_static ? p / c.static_pressure
                                                             : p * c.unit_factor;
            if (std::isfinite(static_cast<float>(result)))
                field.values()(x, y) = static_cast<float>(result);
            else
                field.mask()(x, y) = 1;
        }
    if (c.limit) {
        exclude_below(field, c.lower);
        clamp_above(field, c.upper);
    }
    return field;
}

TEST(ConvertField, EqualsItsSteps) {
    FieldConversion conversion;
    conversion.law = {-21000, 98000, 24000};
    conversion.wind_off_ratio = 1.013;
    conversion.static_pressure = 90000;
    conversion.dynamic_pressure = 12000;
    conversion.unit_factor = 1e-3;
    conversion.lower = 40;
    for_each_size_and_isa([conversion](test::Size size) mutable {
        const image plain = random_image(size, 7, Values::special);
        Progress progress;
        for (const image& ratio : {plain, with_region(plain, 8)})
            for (const auto quantity : {FieldQuantity::pressure, FieldQuantity::p_over_static,
                                        FieldQuantity::cp, FieldQuantity::ratio})
                for (const float upper : {INFINITY, 150.0F, 20.0F}) {
                    conversion.quantity = quantity;
                    conversion.limit = upper < INFINITY;
                    conversion.upper = upper;
                    EXPECT_EQ(bits(convert_field(ratio, conversion, progress)),
                              bits(converted_by_steps(ratio, conversion)));
                }
    });
}

TEST(ConvertField, GivesHandValuesAndExcludesWhatIsNotFinite) {
    image ratio(3, 1);
    for (int x = 0; x < 3; ++x)
        ratio.values()(x, 0) = static_cast<float>(x + 1);
    FieldConversion conversion;
    conversion.law = {10, 20, 30};  // 60, 170, 340 at wind-off ratio 1
    conversion.static_pressure = 50;
    conversion.dynamic_pressure = 4;
    conversion.quantity = FieldQuantity::cp;
    Progress progress;
    image cp = convert_field(ratio, conversion, progress);
    EXPECT_EQ(cp.values()(0, 0), 2.5F);
    EXPECT_EQ(cp.values()(1, 0), 30.0F);
    conversion.dynamic_pressure = 0;
    cp = convert_field(ratio, conversion, progress);
    EXPECT_EQ(cp.mask()(0, 0), 1);
    EXPECT_EQ(cp.values()(0, 0), 1.0F);
    // above the largest float though finite in 64 bits
    conversion.quantity = FieldQuantity::pressure;
    conversion.unit_factor = 1e37;
    const image pressure = convert_field(ratio, conversion, progress);
    EXPECT_EQ(pressure.mask()(0, 0), 1);
}

/// Hand-worked pixels: each picture's mask counts, a zero divisor excludes, limits clamp.
TEST(RatioOfRatios, TakesTheAndOfFourMasks) {
    constexpr int n = 8;
    const auto plane = [](std::initializer_list<float> values, int excluded) {
        image picture(n, 1);
        std::copy(values.begin(), values.end(), picture.values().row(0));
        if (excluded >= 0) picture.mask()(excluded, 0) = 7;
        return picture;
    };
    const image signal_off = plane({2, 2, 2, 2, 3e30F, 6, -1, NAN}, 0);
    const image signal_on = plane({1, 1, 1, 1, 1e-30F, 2, 1, 1}, 1);
    const image reference_off = plane({1, 1, 1, 1, 1e-30F, 3, 1, 1}, 2);
    const image reference_on = plane({1, 1, 1, 0.5F, 1, 4, 1, 1}, -1);
    Progress progress;
    const ChannelPictures pictures{signal_off, signal_on, reference_off, reference_on};
    const image ratio = form_ratio_of_ratios(pictures, {}, progress);
    const std::vector<int> excluded{1, 1, 1, 0, 1, 0, 0, 1};
    for (int x = 0; x < n; ++x) {
        EXPECT_EQ(ratio.mask()(x, 0), excluded[static_cast<std::size_t>(x)]) << x;
        if (excluded[static_cast<std::size_t>(x)] && !std::isnan(signal_off.values()(x, 0))) {
            EXPECT_EQ(ratio.values()(x, 0), signal_off.values()(x, 0)) << x;
        }
    }
    EXPECT_EQ(ratio.values()(3, 0), 1);
    EXPECT_EQ(ratio.values()(5, 0), 4);
    const image clamped =
        form_ratio_of_ratios(pictures, {.clamp = true, .lower = 0, .upper = 3}, progress);
    EXPECT_EQ(clamped.values()(5, 0), 3);
    EXPECT_EQ(clamped.values()(6, 0), 0);
    EXPECT_EQ(clamped.mask()(6, 0), 0);
    EXPECT_THROW(
        form_ratio_of_ratios({signal_off, signal_on, reference_off, image(n, 2)}, {}, progress),
        IndexError);
}

}  // namespace
}  // namespace vyn
