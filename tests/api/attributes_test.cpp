#include <gtest/gtest.h>

#include "api/correction.h"
#include "api/field_conversion.h"
#include "api/filters.h"
#include "api/image_parts.h"
#include "api/resample.h"

namespace vyn::test {
namespace {

using Kind = Quantity::Kind;

image camera_picture() {
    image picture(40, 30);
    picture.values().fill(100);
    picture.name = "wind_on_sens";
    picture.file_name = "on.tif";
    picture.file_sha256 = "0123";
    picture.origin = {{"file", "on.tif, 0123"}};
    picture.quantity = {Kind::raw_counts};
    picture.unit = count_unit;
    picture.degree = 5;
    picture.markers.markers = {{1, 2, 0, 0, true, 4}};
    picture.displacement = Displacement{Bitmap<float>(3, 2, 1), Bitmap<float>(3, 2, 2), 16};
    picture.full_scale = 4095;
    picture.saturated = std::make_shared<Bitmap<std::uint8_t>>(40, 30, std::uint8_t{1});
    picture.note_markers_saved();
    return picture;
}

/// What every image that is made from the camera picture has in common.
void expect_derived(image result, PixelFrame frame) {
    const image source = camera_picture();
    EXPECT_EQ(result.name, source.name);
    EXPECT_EQ(result.degree, source.degree);
    EXPECT_EQ(result.markers, source.markers);
    EXPECT_EQ(result.full_scale, source.full_scale);
    EXPECT_EQ(result.file_sha256, "");
    EXPECT_TRUE(result.origin.empty());
    EXPECT_EQ(result.saturated != nullptr, frame == PixelFrame::same);
    EXPECT_EQ(result.displacement.has_value(), frame == PixelFrame::same);
    result.markers.markers.clear();
    EXPECT_FALSE(result.has_unsaved_markers());
}

TEST(DerivedImage, KeepsAttributesAndKnowsItsQuantity) {
    Progress progress;
    const image raw = camera_picture();
    const auto check = [](const image& result, PixelFrame frame, Kind kind, const char* unit) {
        SCOPED_TRACE(stored_name({kind}));
        expect_derived(result, frame);
        EXPECT_EQ(result.quantity, Quantity{kind});
        EXPECT_EQ(result.unit, unit);
    };
    for (const FilterType type : {FilterType::limits, FilterType::box, FilterType::median}) {
        FilterOptions options;
        options.type = type;
        check(filtered(raw, options, progress), PixelFrame::same, Kind::raw_counts, "count");
    }
    const auto map = [](int x0, int n, int y, double* x, double* source_y) {
        for (int i = 0; i < n; ++i) {
            x[i] = x0 + i + 0.5;
            source_y[i] = y;
        }
    };
    check(resample(raw, 20, 50, map, progress), PixelFrame::other, Kind::raw_counts, "count");

    const image corrected = correct_intensity(raw, 0, nullptr, nullptr, progress);
    check(corrected, PixelFrame::same, Kind::corrected_intensity, "count");
    check(correct_intensity(raw, 0, nullptr, &raw, progress), PixelFrame::same,
          Kind::corrected_intensity, "");
    const image ratio = form_ratio(raw, raw, {}, progress);
    check(ratio, PixelFrame::same, Kind::intensity_ratio, "");
    check(form_ratio_of_ratios({raw, raw, raw, raw}, {}, progress), PixelFrame::same,
          Kind::intensity_ratio, "");
    FieldConversion conversion;
    conversion.unit = "psi";
    for (const auto& [wanted, kind, unit] :
         {std::tuple{FieldQuantity::pressure, Kind::pressure, "psi"},
          {FieldQuantity::p_over_static, Kind::p_over_static, ""},
          {FieldQuantity::cp, Kind::cp, ""},
          {FieldQuantity::ratio, Kind::intensity_ratio, ""}}) {
        conversion.quantity = wanted;
        check(convert_field(ratio, conversion, progress), PixelFrame::same, kind, unit);
    }
}

TEST(FieldLabel, IsTheImagesOwn) {
    image picture;
    const auto label = [&](Quantity quantity, const char* unit) {
        picture.quantity = quantity;
        picture.unit = unit;
        return field_label(picture).text() + " | " + quantity_words(picture);
    };
    EXPECT_EQ(label({}, ""), "value | value");
    EXPECT_EQ(label({}, "K"), "value, K | value in K");
    EXPECT_EQ(label({Kind::raw_counts}, count_unit), "Intensity | raw intensity in count");
    EXPECT_EQ(label({Kind::pressure}, "psi"), "Pressure, psi | pressure in psi");
    EXPECT_EQ(label({Kind::p_over_static}, ""), "P_Pstat | pressure over static pressure");
    EXPECT_EQ(label({Kind::cp, true}, ""),
              "SD of Cp | standard deviation of the pressure coefficient");
}

}  // namespace
}  // namespace vyn::test
