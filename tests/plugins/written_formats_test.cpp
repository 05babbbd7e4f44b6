#include <bit>
#include <cmath>
#include <cstring>

#include <gmock/gmock.h>

#include "tests/plugins/sample_files.h"
#include "tests/support/picture_of.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

/// 3 x 2 pressures in kPa from 1.5 on, the last one of the first row excluded.
image pressures() {
    image picture = picture_of(3, 2, [](int x, int y) { return 1.5 + x + 3 * y; });
    picture.name = "field_P";
    picture.mask()(2, 0) = 1;
    picture.quantity = {Quantity::Kind::pressure};
    picture.unit = "kPa";
    return picture;
}

std::string written(const char* name) {
    const TemporaryFolder folder;
    write_image(pressures(), folder / name, {.provenance = R"({"program": "x"})"});
    return get_file(folder / name);
}

TEST(WrittenFormats, TablesNameQuantityAndUnitAndLeaveExcludedPixelsEmpty) {
    const std::string text = written("field.csv");
    EXPECT_EQ(text.front(), '#');
    EXPECT_THAT(text.substr(0, text.find('\n')), HasSubstr(R"("program":"x")"));
    EXPECT_EQ(text.substr(text.find('\n') + 1),
              "x,y,pressure/kPa\n0,0,1.5\n1,0,2.5\n2,0,\n0,1,4.5\n1,1,5.5\n2,1,6.5\n");
}

TEST(WrittenFormats, AUnitWithACommaIsNoColumnOfItsOwn) {
    const TemporaryFolder folder;
    image picture = pressures();
    picture.unit = "counts, \"mean\"";
    write_image(picture, folder / "field.csv", {});
    EXPECT_THAT(get_file(folder / "field.csv"),
                HasSubstr("x,y,\"pressure/counts, \"\"mean\"\"\"\n"));
}

TEST(WrittenFormats, TecplotHasAPointAPixelRowByRow) {
    const std::string text = written("field.dat");
    EXPECT_THAT(text, HasSubstr("I=3,J=2,K=1,F=POINT"));
    EXPECT_THAT(text, HasSubstr("\n1 0 2.5 0\n"));
    EXPECT_THAT(text, HasSubstr("\n2 1 6.5 0\n"));
    EXPECT_THAT(text, testing::ContainsRegex("\n2 0 [0-9.]+ 1\n")) << "excluded";
}

TEST(WrittenFormats, VtkImageDataHoldsValuesAndMask) {
    const std::string file = written("field.vti");
    EXPECT_THAT(file, HasSubstr(R"(WholeExtent="0 2 0 1 0 0")"));
    EXPECT_THAT(file, HasSubstr(R"(Name="Unit")"));
    EXPECT_THAT(file, HasSubstr(R"(Name="pressure" NumberOfComponents="1" NumberOfTuples="6")"));
    static_assert(std::endian::native == std::endian::little);
    const std::size_t at = file.find("\n_") + 2;
    ASSERT_GE(file.size(), at + 46);
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, &file[at], sizeof bytes);
    ASSERT_EQ(bytes, 24U);
    std::array<float, 6> values{};
    std::memcpy(values.data(), &file[at + 8], 24);
    EXPECT_TRUE(std::isnan(values[2]));
    values[2] = 0;
    EXPECT_THAT(values, testing::ElementsAre(1.5F, 2.5F, 0, 4.5F, 5.5F, 6.5F));
    EXPECT_EQ(file.substr(at + 40, 6), std::string("\0\0\1\0\0\0", 6));
}

}  // namespace
}  // namespace vyn::test
