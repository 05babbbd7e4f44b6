#include <cerrno>
#include <cmath>
#include <system_error>

#include <gmock/gmock.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"
#include "tests/support/error_of.h"
#include "tests/support/full_disk.h"
#include "tests/support/picture_of.h"

namespace vyn::test {
namespace {

using Kind = Quantity::Kind;

image pressures() {
    image picture = example_image();
    picture.quantity = {Kind::pressure};
    picture.unit = "kPa";
    picture.origin = {{"project/flow/p_unit", "kPa"}, {"Iref > file", "a \"b\"\n\u0394.tif, 12"}};
    return picture;
}

/// What all formats have in common.
class Formats : public testing::TestWithParam<const char*> {
  protected:
    image read_back(const image& picture, const ImageWriteOptions& options = {}) const {
        write_image(picture, file_, options);
        return read_image(file_);
    }

    TemporaryFolder folder_;
    std::filesystem::path file_ = folder_ / (std::string("field.") + GetParam());
    bool fits_ = std::string(GetParam()) == "fits";
};

TEST_P(Formats, KeepAttributes) {
    image picture = pressures();
    picture.unit = "m'/s \u00b5";
    picture.edges = SplineEdges::extended;
    const std::string provenances[] = {"", R"({"program": "x", "unit": 3})", "plain text"};
    for (int kind = 0; kind <= static_cast<int>(Kind::temperature); ++kind) {
        picture.quantity = {static_cast<Kind>(kind), kind % 2 == 1};
        const image back = read_back(picture, {.provenance = provenances[kind % 3]});
        EXPECT_EQ(back.quantity, picture.quantity) << kind;
        EXPECT_EQ(back.unit, picture.unit) << kind;
        EXPECT_EQ(back.edges,
                  GetParam() == std::string("imp") ? SplineEdges::extended : SplineEdges::stored);
        EXPECT_EQ(back.origin, picture.origin) << kind;
    }
}

/// A mask becomes NaN, but for IMP, which keeps it, and PNG, which has neither.
TEST_P(Formats, KeepPixelsAndGuessNoAttributes) {
    const image picture = example_image();
    const image back = read_back(picture);
    EXPECT_EQ(back.quantity, Quantity());
    EXPECT_EQ(field_label(back).text(), "value");
    EXPECT_TRUE(back.origin.empty());
    if (GetParam() == std::string("png") || GetParam() == std::string("imp")) return;
    expect_picture(back, Numbers(7, 5, [&](int x, int y) {
                       return picture.mask()(x, y) != 0 ? NAN : picture.values()(x, y);
                   }));
}

TEST_P(Formats, LeaveOutAttributesThatMakeNoSense) {
    image picture = pressures();
    for (const std::string& unit :
         {std::string(100000, 'x'), std::string("a\tb"), std::string("Pa\x1b[31m"),
          std::string("\u202epsi"), std::string("\xff\xfe"), std::string("a\0b", 3)}) {
        picture.unit = unit;
        const image back = read_back(picture);
        EXPECT_EQ(back.quantity, Quantity{Kind::pressure});
        EXPECT_EQ(back.unit, "") << unit.substr(0, 40);
    }
    if (fits_) return;
    picture.origin = {{"huge", std::string(1 << 20, 'x')}, {"short", "x"}};
    EXPECT_EQ(read_back(picture).origin, (ImageOrigin{{"short", "x"}}));

    picture.unit = "kPa";
    read_back(picture);
    std::string bytes = get_file(file_);
    for (const auto& [sound, wrong] :
         {std::pair{R"("quantity":"pressure")", R"("quantity":[99999991])"},
          {R"("unit":"kPa")", R"("unit":12345)"},
          {R"("short":"x")", R"("short":100)"}}) {
        const auto place = bytes.find(sound);
        ASSERT_NE(place, std::string::npos) << sound;
        bytes.replace(place, std::string(sound).size(), wrong);
    }
    put_file(file_, bytes);
    const image back = read_image(file_);
    EXPECT_EQ(back.quantity, Quantity());
    EXPECT_EQ(back.unit, "");
    EXPECT_TRUE(back.origin.empty());
}

class Impatient : public Progress {
    void fraction(double done) override { done_ = done; }
    bool aborted() const override { return done_ > 0.2; }
    double done_ = 0;
};

TEST_P(Formats, LeaveTheOldFileOnAFullDiskAndWhenStoppedMidway) {
    put_file(file_, "old");
    const image noise =
        picture_of(300, 300, [](int x, int y) { return (x * 7919 + y * y * 1047) % 65521; });
    {
        const FullDisk disk(20000);
        EXPECT_THAT(
            error_of<FileError>([&] { write_image(noise, file_); }).what(),
            testing::HasSubstr(file_.string() + ": " + std::generic_category().message(EFBIG)));
    }
    Impatient impatient;
    const image dark = picture_of(16, 1000, [](int, int) { return 0; });
    EXPECT_THROW(write_image(dark, file_, {}, impatient), Aborted);
    EXPECT_EQ(get_file(file_), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
}

INSTANTIATE_TEST_SUITE_P(All, Formats, testing::Values("imp", "tif", "fits", "png"));

TEST(PngAttributes, AStretchedPictureIsOfNoQuantity) {
    TemporaryFolder folder;
    write_image(pressures(), folder / "field.png", {ImageWriteOptions::Scale::stretch, {}});
    EXPECT_EQ(field_label(read_image(folder / "field.png")).text(), "value");
}

}  // namespace
}  // namespace vyn::test
