#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <memory>

#include <gmock/gmock.h>
#include <tiffio.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

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
    picture.exposure = 0.1;
    picture.taken = parse_clock_time("2024-05-31T14:03:20.5");
    picture.frames =
        std::make_shared<const FrameStatistics>(FrameStatistics{17, Bitmap<float>(7, 5, 0.3F)});
    picture.displacement = Displacement{Bitmap<float>(3, 2, 0.1f), Bitmap<float>(3, 2, -2.5f), 16};
    picture.markers = {{{0.1, 1.0 / 3, -1e-300, std::numeric_limits<double>::max(), true, 7},
                        {-0.0, 1e22, std::numeric_limits<double>::quiet_NaN(),
                         -std::numeric_limits<double>::infinity(), false, -2147483647}},
                       "pressure",
                       3,
                       true,
                       true,
                       false,
                       true,
                       {}};
    return picture;
}

/// Every part of an image as bytes, under its name; a marker's NaN is one whatever its bits.
std::map<std::string, std::string> parts(const image& picture) {
    const auto number = [](auto value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const auto plane = [&](const auto& values) {
        std::string bytes = number(values.width());
        for (int y = 0; y < values.height(); ++y)
            for (int x = 0; x < values.width(); ++x)
                bytes += number(values(x, y));
        return bytes;
    };
    const MarkerSet& set = picture.markers;
    std::map<std::string, std::string> found{
        {"name", picture.name},
        {"degree", number(picture.degree)},
        {"full scale", number(picture.full_scale)},
        {"values", plane(picture.values())},
        {"mask", plane(picture.mask())},
        {"function", set.functionName},
        {"unit", number(set.lengthUnit)},
        {"columns", number(std::array{set.hasX, set.hasY, set.hasZ, set.hasF})}};
    if (picture.has_region()) found["region"] = plane(picture.region());
    if (picture.saturated) found["saturated"] = plane(*picture.saturated);
    if (picture.frames)
        found["frames"] = number(picture.frames->frames) + plane(picture.frames->variance);
    if (picture.exposure) found["exposure"] = number(*picture.exposure);
    if (picture.taken)
        found["taken"] = number(picture.taken->seconds) + number(picture.taken->dated);
    if (const auto& moved = picture.displacement)
        found["displacement"] = plane(moved->u) + plane(moved->v) + number(moved->step);
    for (const Marker& marker : set.markers) {
        for (const double value : {marker.x, marker.y, marker.z, marker.f})
            found["markers"] += std::isnan(value) ? "nan" : number(value);
        found["markers"] += number(marker.active) + number(marker.id);
    }
    return found;
}

TEST(Imp, KeepsEverythingBitForBit) {
    TemporaryFolder folder;
    for (const image& picture : {full_image(), example_image()}) {
        write_image(picture, folder / "field.imp", {{}, R"({"run": 12})"});
        EXPECT_EQ(parts(read_image(folder / "field.imp")), parts(picture));
    }
    image picture = example_image();
    picture.values()(5, 1) = std::numeric_limits<float>::infinity();
    write_image(picture, folder / "field.imp");
    EXPECT_EQ(read_image(folder / "field.imp").mask()(5, 1), 1) << "not finite";
}

TEST(Imp, IsKnownByItsContentUnderAnyName) {
    TemporaryFolder folder;
    write_image(example_image(), folder / "field.imp");
    std::filesystem::rename(folder / "field.imp", folder / "field.tif");
    EXPECT_EQ(parts(read_image(folder / "field.tif")), parts(example_image()));

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
    EXPECT_EQ(TIFFNumberOfDirectories(tiff), 7);
    TIFFClose(tiff);
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
