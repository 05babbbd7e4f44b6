#include "align/displacement_map.h"

#include <cmath>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/image_io.h"
#include "core/errors.h"
#include "tests/support/error_of.h"
#include "tests/support/full_disk.h"
#include "tests/support/picture_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

/// 3 x 2 nodes; those that are written are (1, 1) and (2, 1).
DisplacementMap small_map(int step) {
    DisplacementMap map;
    map.name = "level 1";
    map.step = step;
    map.field = Bitmap<DisplacementVector>(3, 2, {9, 9});
    map.field(1, 1) = {3, -4};
    map.field(2, 1) = {0.5f, 0};
    map.mask = Bitmap<std::uint8_t>(3, 2, 0);
    return map;
}

constexpr const char* plain_header =
    "TITLE=\"Displacement Map\"\nVARIABLES =\"x\" \"y\" \"u\" \"v\" \"l\" \"g\"\n";
constexpr const char* intensity_header =
    "TITLE=\"Displacement Map\"\nVARIABLES =\"x\" \"y\" \"u\" \"v\" \"l\" \"i\" \"g\"\n";
constexpr const char* plain_zone =
    "ZONE T=\"level 1\" I=2,J=1,K=1,F=POINT\nDT=(DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE)\n";
constexpr const char* intensity_zone =
    "ZONE T=\"level 1\" I=2,J=1,K=1,F=POINT\n"
    "DT=(DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE)\n";

/// Two nodes: the beginnings of their lines are always the same.
std::string node_lines(const std::string& first, const std::string& second) {
    return "8 8 3.000000 -4.000000 5.000000" + first + "\n16 8 0.500000 0.000000 0.500000" +
           second + "\n";
}

/// 21 x 21 pixels: the cell of (16, 8) is whole, with (15, 7) excluded.
image picture(float left, float right) {
    image result = picture_of(21, 21, [&](int x, int) { return x < 12 ? left : right; });
    result.values()(15, 7) = 1e6f;
    result.mask()(15, 7) = 1;
    return result;
}

TEST(DisplacementMap, WritesTecplotByteForByte) {
    const TemporaryFolder folder;
    const std::string file = folder / "map.dat";
    const image first = picture(2, 3);
    const image second = picture(5, 1);
    image none = picture(2, 3);
    none.mask().fill(1);

    struct Case {
        MapIntensity intensity;
        const image* image1;
        const image* image2;
        int masked_node;  ///< column, 0: none
        const char* first_end;
        const char* second_end;
    };
    const Case cases[] = {
        {MapIntensity::none, nullptr, nullptr, 0, " 1", " 1"},
        {MapIntensity::none, &first, &second, 2, " 1", " 0"},
        {MapIntensity::mean, &first, &second, 0, " 2.000000 1", " 3.000000 1"},
        {MapIntensity::mean, &first, nullptr, 1, " 0.0 0", " 3.000000 1"},
        {MapIntensity::mean, nullptr, nullptr, 0, " 0.0 0", " 0.0 0"},
        {MapIntensity::mean, &none, &first, 0, " 0.0 0", " 0.0 0"},
        {MapIntensity::ratio, &first, &second, 0, " 2.500000 1", " 0.333333 1"},
        {MapIntensity::ratio, &first, nullptr, 0, " 2.000000 1", " 3.000000 1"},
        {MapIntensity::ratio, &first, &none, 0, " 0.0 0", " 0.0 0"},
    };
    for (const Case& c : cases) {
        DisplacementMap map = small_map(8);
        map.image1 = c.image1;
        map.image2 = c.image2;
        if (c.masked_node > 0) map.mask(c.masked_node, 1) = 7;
        put_file(file, "an older and longer file that has to go\n");
        map.write_map(file, c.intensity);
        const bool plain = c.intensity == MapIntensity::none;
        EXPECT_EQ(get_file(file), std::string(plain ? plain_header : intensity_header) +
                                      (plain ? plain_zone : intensity_zone) +
                                      node_lines(c.first_end, c.second_end))
            << "case " << &c - cases;
    }
}

TEST(DisplacementMap, AppendsZonesAndMakesAMissingFileWithoutHeader) {
    const TemporaryFolder folder;
    const std::string zone = plain_zone + node_lines(" 1", " 1");
    const DisplacementMap map = small_map(8);
    map.write_map(folder / "a.dat", MapIntensity::none);
    map.append_map(folder / "a.dat", MapIntensity::none);
    EXPECT_EQ(get_file(folder / "a.dat"), plain_header + zone + zone);
    map.append_map(folder / "b.dat", MapIntensity::none);
    EXPECT_EQ(get_file(folder / "b.dat"), zone);
}

/// The cell of an odd step reaches as far as that of the even one before it; that of step 1 is
/// empty. Cells are cut off by the picture's edge.
TEST(DisplacementMap, CellsByStepAndEdge) {
    const TemporaryFolder folder;
    image ramp = picture_of(10, 4, [](int x, int y) { return x + 100 * y; });
    const auto lines = [&](int step) {
        DisplacementMap map = small_map(step);
        map.image1 = &ramp;
        map.write_map(folder / "m", MapIntensity::mean);
        const std::string text = get_file(folder / "m");
        return text.substr(std::string(intensity_header).size() +
                           std::string(intensity_zone).size());
    };
    const std::string one = "1 1 3.000000 -4.000000 5.000000 0.0 0\n";
    EXPECT_EQ(lines(1), one + "2 1 0.500000 0.000000 0.500000 0.0 0\n");
    // step 3: columns 2, 3 and rows 2, 3; then columns 5, 6
    EXPECT_THAT(lines(3), HasSubstr("3 3 3.000000 -4.000000 5.000000 252.500000 1\n"
                                    "6 3 0.500000 0.000000 0.500000 255.500000 1\n"));
    // step 4: columns 2 to 5 and rows 2, 3; then columns 6 to 9
    EXPECT_THAT(lines(4), HasSubstr("4 4 3.000000 -4.000000 5.000000 253.500000 1\n"
                                    "8 4 0.500000 0.000000 0.500000 257.500000 1\n"));
    EXPECT_THAT(lines(2000000000), HasSubstr("2000000000 2000000000 3.000000"));
    EXPECT_THAT(lines(2000000000), HasSubstr("4000000000 2000000000 0.500000 0.000000 0.500000 0"));
}

TEST(DisplacementMap, NamesWithImpBecomeFieldFiles) {
    register_plugins("*.2dio");
    const TemporaryFolder folder;
    DisplacementMap map = small_map(8);
    map.mask(2, 1) = 7;
    for (const char* name : {"map.imp", "run.imp.dat"}) {
        map.write_map(folder / name, MapIntensity::none);
        const image read = read_image(folder / name);
        EXPECT_EQ(read.name, "level 1");
        ASSERT_TRUE(read.displacement);
        EXPECT_EQ(read.displacement->step, 8);
        ASSERT_EQ(read.width(), 3);
        ASSERT_EQ(read.height(), 2);
        for (int r = 0; r < 2; ++r)
            for (int c = 0; c < 3; ++c) {
                EXPECT_EQ(read.displacement->u(c, r), map.field(c, r).u);
                EXPECT_EQ(read.displacement->v(c, r), map.field(c, r).v);
                EXPECT_EQ(read.mask()(c, r) != 0, map.mask(c, r) != 0);
            }
        EXPECT_EQ(read.values()(1, 1), 5);
    }
    map.step = 0;
    EXPECT_THROW(map.write_map(folder / "zero.imp", MapIntensity::none), FileError);
    EXPECT_FALSE(std::filesystem::exists(folder / "zero.imp"));
}

void expect_file_error(const std::string& file, int line, auto operation) {
    const auto error = error_of<FileError>(operation, file);
    EXPECT_EQ(error.where(), "Error writing file at qped_io:" + std::to_string(line));
    EXPECT_THAT(error.detail, HasSubstr(file));
}

TEST(DisplacementMap, FilesThatCannotBeOpened) {
    const TemporaryFolder folder;
    const DisplacementMap map = small_map(8);
    std::filesystem::create_directory(folder / "taken");
    for (const char* name : {"nowhere/map.dat", "nowhere/map.imp", "taken"}) {
        const std::string file = folder / name;
        expect_file_error(file, 132, [&] { map.write_map(file, MapIntensity::none); });
        expect_file_error(file, 44, [&] { map.append_map(file, MapIntensity::none); });
    }
}

TEST(DisplacementMap, KeepsTheOldContentWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    DisplacementMap map = small_map(8);
    map.field = Bitmap<DisplacementVector>(200, 200, {1, 1});
    map.mask = Bitmap<std::uint8_t>(200, 200, 0);
    const std::string old = folder / "old.dat";
    const std::string missing = folder / "new.dat";
    put_file(old, "kept");
    {
        const FullDisk full(10000);
        expect_file_error(old, 132, [&] { map.write_map(old, MapIntensity::none); });
        expect_file_error(old, 44, [&] { map.append_map(old, MapIntensity::none); });
        expect_file_error(missing, 44, [&] { map.append_map(missing, MapIntensity::none); });
    }
    EXPECT_EQ(get_file(old), "kept");
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(DisplacementMap, ImagesWithoutPlanesAndMasksOfAnotherSize) {
    const TemporaryFolder folder;
    const std::string file = folder / "kept.dat";
    put_file(file, "kept");
    DisplacementMap map = small_map(8);
    image no_values = picture(1, 1);
    no_values.drop_values();
    image no_mask = picture(1, 1);
    no_mask.drop_mask();
    for (const auto& [broken, line] : {std::pair(&no_values, 335), std::pair(&no_mask, 343)}) {
        map.image1 = broken;
        const auto error = error_of<AlgoError>([&] { map.append_map(file, MapIntensity::mean); });
        EXPECT_EQ(error.where(), "Algorithm error! at api/image:" + std::to_string(line));
    }
    map.mask = Bitmap<std::uint8_t>(3, 3, 0);
    EXPECT_THROW(map.write_map(file, MapIntensity::none), DimError);
    EXPECT_EQ(get_file(file), "kept");
}

}  // namespace
}  // namespace vyn::test
