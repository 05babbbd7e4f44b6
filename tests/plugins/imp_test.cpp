#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tiffio.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

template <class T>
bool same_bits(const Bitmap<T>& a, const Bitmap<T>& b) {
    if (!a.same_size(b)) return false;
    for (int y = 0; y < a.height(); ++y)
        if (std::memcmp(a.row(y), b.row(y), sizeof(T) * static_cast<std::size_t>(a.width())) != 0)
            return false;
    return true;
}

/// An image that has everything, with numbers that a careless text would lose.
image full_image() {
    image picture = example_image();
    picture.name = "Druck \"\u0394p\", 100 %";
    picture.degree = 5;
    picture.values()(1, 1) = std::bit_cast<float>(0x7FA12345u);  // a signalling NaN with a payload
    picture.mask()(1, 1) = 3;
    picture.values()(2, 1) = -0.f;
    picture.values()(3, 1) = std::numeric_limits<float>::denorm_min();
    picture.fill_region(1);
    picture.region()(4, 4) = 0;
    picture.full_scale = 4095;
    picture.saturated = std::make_shared<Bitmap<std::uint8_t>>(7, 5, std::uint8_t{1});
    picture.displacement = Displacement{Bitmap<float>(3, 2, 0.1f), Bitmap<float>(3, 2, -2.5f), 16};
    picture.markers = {{{0.1, 1.0 / 3, -1e-300, std::numeric_limits<double>::max(), true, 7},
                        {-0.0, 1e22, std::numeric_limits<double>::quiet_NaN(),
                         -std::numeric_limits<double>::infinity(), false, -2147483647}},
                       "pressure",
                       3,
                       true,
                       true,
                       false,
                       true};
    return picture;
}

void expect_equal(const image& a, const image& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.degree, b.degree);
    EXPECT_EQ(a.full_scale, b.full_scale);
    EXPECT_TRUE(same_bits(a.values(), b.values()));
    EXPECT_TRUE(same_bits(a.mask(), b.mask()));
    ASSERT_EQ(a.has_region(), b.has_region());
    EXPECT_TRUE(!a.has_region() || same_bits(a.region(), b.region()));
    ASSERT_EQ(a.saturated != nullptr, b.saturated != nullptr);
    EXPECT_TRUE(!a.saturated || same_bits(*a.saturated, *b.saturated));
    ASSERT_EQ(a.displacement.has_value(), b.displacement.has_value());
    if (a.displacement) {
        EXPECT_TRUE(same_bits(a.displacement->u, b.displacement->u));
        EXPECT_TRUE(same_bits(a.displacement->v, b.displacement->v));
        EXPECT_EQ(a.displacement->step, b.displacement->step);
    }
    const auto bits = [](const MarkerSet& set) {
        std::vector<std::uint64_t> list;
        for (const Marker& marker : set.markers)
            for (const double number : {marker.x, marker.y, marker.z, marker.f})
                list.push_back(std::isnan(number) ? 0 : std::bit_cast<std::uint64_t>(number));
        return list;
    };
    EXPECT_EQ(bits(a.markers), bits(b.markers));
    for (std::size_t i = 0; i < a.markers.markers.size(); ++i) {
        EXPECT_EQ(a.markers.markers[i].active, b.markers.markers[i].active);
        EXPECT_EQ(a.markers.markers[i].id, b.markers.markers[i].id);
    }
    MarkerSet a_head = a.markers;
    MarkerSet b_head = b.markers;
    a_head.markers.clear();
    b_head.markers.clear();
    EXPECT_EQ(a_head, b_head);
}

TEST(Imp, KeepsEverythingBitForBit) {
    TemporaryFolder folder;
    for (const image& picture : {full_image(), example_image()}) {
        write_image(picture, folder / "field.imp", {{}, R"({"run": 12})"});
        expect_equal(read_image(folder / "field.imp"), picture);
    }
}

TEST(Imp, IsKnownByItsContentUnderAnyName) {
    TemporaryFolder folder;
    write_image(example_image(), folder / "field.imp");
    std::filesystem::rename(folder / "field.imp", folder / "field.tif");
    expect_equal(read_image(folder / "field.tif"), example_image());

    write_image(example_image(), folder / "plain.tif");
    std::filesystem::rename(folder / "plain.tif", folder / "plain.imp");
    const image plain = read_image(folder / "plain.imp");
    EXPECT_EQ(plain.name, "plain");
    EXPECT_TRUE(std::isnan(plain.values()(0, 0)));
}

TEST(Imp, OpensAsPlainTiffInOtherPrograms) {
    TemporaryFolder folder;
    write_image(full_image(), folder / "field.imp");
    TIFF* tiff = TIFFOpen((folder / "field.imp").c_str(), "r");
    ASSERT_NE(tiff, nullptr);
    std::vector<float> row(7);
    EXPECT_EQ(TIFFReadScanline(tiff, row.data(), 4, 0), 1);
    EXPECT_EQ(row[6], full_image().values()(6, 4));
    EXPECT_EQ(TIFFNumberOfDirectories(tiff), 6);
    TIFFClose(tiff);
}

TEST(Imp, ExcludesValuesThatAreNotFinite) {
    TemporaryFolder folder;
    image picture = example_image();
    picture.values()(5, 1) = std::numeric_limits<float>::infinity();
    write_image(picture, folder / "field.imp");
    EXPECT_EQ(read_image(folder / "field.imp").mask()(5, 1), 1);
}

struct Edit {
    const char* label;
    const char* from;
    const char* to;  ///< of the same length
    const char* message;
};

class ImpRefusal : public testing::TestWithParam<Edit> {};

TEST_P(ImpRefusal, SaysWhatIsWrongInTheDescription) {
    TemporaryFolder folder;
    write_image(full_image(), folder / "field.imp");
    std::string bytes = get_file(folder / "field.imp");
    const auto place = bytes.find(GetParam().from);
    ASSERT_NE(place, std::string::npos);
    bytes.replace(place, std::string(GetParam().from).size(), GetParam().to);
    put_file(folder / "edited.imp", bytes);
    EXPECT_THAT(refusal(folder / "edited.imp"), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ImpRefusal,
    testing::Values(Edit{"newer", R"("version":1)", R"("version":2)", "newer"},
                    Edit{"degree", R"("degree":5)", R"("degree":9)", "'degree'"},
                    Edit{"step", R"("displacementStep":16)", R"("displacementStep":-1)",
                         "'displacementStep'"},
                    Edit{"unknown_page", R"("region")", R"("reason")", "'reason'"},
                    Edit{"page_twice", R"("u","v")", R"("u","u")", "'u'"},
                    Edit{"other_order", R"("values","mask")", R"("mask","values")", "pixel type"},
                    Edit{"no_markers", R"("markers")", R"("markets")", "'markers'"},
                    Edit{"no_json", R"("name":)", R"("name";)", "parse error"},
                    Edit{"wrong_kind", R"("hasX":true)", R"("hasX":1234)", "boolean"}),
    label_of());

TEST(Imp, RefusesToWritePlanesThatDoNotFit) {
    TemporaryFolder folder;
    image picture = example_image();
    picture.set_region(Bitmap<std::uint8_t>(2, 2, 1));
    EXPECT_THROW(write_image(picture, folder / "field.imp"), FileError);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace vyn::test
