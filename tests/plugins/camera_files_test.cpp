#include "tests/plugins/camera_files.h"

#include <gmock/gmock.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"
#include "tests/support/error_of.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

Numbers expected() {
    return {7, 5, [](int x, int y) { return 100.0 + x + 10 * y; }};
}

TEST(CameraFiles, AreReadExactly) {
    TemporaryFolder folder;
    for (const auto& [format, name, bytes] : small_camera_files()) {
        SCOPED_TRACE(name);
        put_file(folder / name, bytes);
        const image picture = read_image(folder / name);
        expect_picture(picture, expected());
        EXPECT_EQ(picture.frames != nullptr, format == "spe" || name == "burst.npy");
        EXPECT_EQ(picture.exposure.value_or(0), format == "spe" ? 0.25 : 0);
    }
    EXPECT_EQ(read_image(folder / "u16.pgm").full_scale, 4095);
    EXPECT_EQ(read_image(folder / "u16.npy").full_scale, 65535);
    EXPECT_EQ(read_image(folder / "burst.npy").full_scale, 0);
}

struct RefusedFile {
    const char* label;
    const char* name;
    std::string bytes;
    const char* message;
};

class CameraRefusal : public testing::TestWithParam<RefusedFile> {};

TEST_P(CameraRefusal, NamesFileAndReason) {
    TemporaryFolder folder;
    put_file(folder / GetParam().name, GetParam().bytes);
    EXPECT_THAT(refusal(folder / GetParam().name), HasSubstr(GetParam().message));
}

std::string npy(const std::string& type, const std::string& shape) {
    return npy_header(type, "False", shape) + std::string(400, '\1');
}

/// A header of 24 bytes; the sides as characters.
std::string b16(char columns, char rows, char header) {
    std::string bytes(400, '\0');
    bytes.replace(0, 4, "PCO-");
    bytes[8] = header;
    bytes[12] = columns;
    bytes[16] = rows;
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, CameraRefusal,
    testing::Values(
        RefusedFile{"npy_colour", "a.npy", npy("|u1", "5, 7, 3"), "looks like colours"},
        RefusedFile{"npy_complex", "a.npy", npy("<c8", "2, 2"), "type <c8"},
        RefusedFile{"npy_half", "a.npy", npy("<f2", "2, 2"), "type <f2"},
        RefusedFile{"npy_one_axis", "a.npy", npy("|u1", "35,"), "1 axes"},
        RefusedFile{"npy_huge", "a.npy", npy("<u2", "60000, 60000"), "too large"},
        RefusedFile{"npy_unbacked", "a.npy", npy("<u2", "1000, 1000"), "beyond its end"},
        RefusedFile{"npy_absurd", "a.npy", npy("<u2", "9223372036854775807, 7"), "too large"},
        RefusedFile{"npy_frames", "a.npy", npy("<u2", "2000000000, 5, 7"), "beyond its end"},
        RefusedFile{"npy_version", "a.npy", "\x93NUMPY\x09" + std::string(100, '\0'), "version 9"},
        RefusedFile{"pgm_colour", "a.pgm", "P6 7 5 255\n" + std::string(105, '\1'), "colour"},
        RefusedFile{"pgm_bits", "a.pgm", "P4 7 5\n" + std::string(5, '\1'), "black and white"},
        RefusedFile{"pgm_largest", "a.pgm", "P5 7 5 70000\n", "largest value is 70000"},
        RefusedFile{"pgm_no_number", "a.pgm", "P5 7 x 255\n", "a number is expected"},
        RefusedFile{"pgm_two", "a.pgm", "P5 1 1 255\nxP5 1 1 255\nx", "several pictures"},
        RefusedFile{"pgm_words_end", "a.pgm", "P2 2 2 9 1 2 3", "cut off"},
        RefusedFile{"pgm_words_few", "a.pgm", "P2 9999 9999 9 1", "too small"},
        RefusedFile{"pgm_word_large", "a.pgm", "P2 1 1 9 10\n", "larger than the largest"},
        RefusedFile{"b16_header", "a.b16", b16(7, 5, 8), "too short"},
        RefusedFile{"b16_sides", "a.b16", b16(0, 5, 24), "no pixels"},
        RefusedFile{"b16_unbacked", "a.b16", b16(99, 99, 24), "beyond its end"}),
    label_of());

image read_raw(const std::filesystem::path& file, const std::string& layout) {
    Progress silent;
    return read_image(file, {.raw_layout = layout}, silent);
}

TEST(RawFiles, AreReadAsTheirLayoutSays) {
    TemporaryFolder folder;
    const auto file = folder / "frame.raw";
    const std::string words = std::get<2>(small_camera_files()[0]).substr(128);
    put_file(file, "head" + words);
    expect_picture(read_raw(file, "width=7 height=5 offset=4"), expected());
    EXPECT_EQ(read_raw(file, "width=7,height=5,offset=4,full_scale=4095").full_scale, 4095);
    expect_picture(read_raw(file, "width=7 height=5 offset=4 first_row=bottom"),
                   Numbers(7, 5, [](int x, int y) { return 100.0 + x + 10 * (4 - y); }));
    EXPECT_THAT(error_of<FileError>([&] { read_image(file); }).what(), HasSubstr("not an image"))
        << "nobody said what it is";

    put_file(folder / "frame.raw.layout", "# camera 1\nwidth=7 height=5\noffset=4\n");
    expect_picture(read_image(file), expected());
    put_file(file, words + "gap." + words);
    expect_picture(read_raw(file, "width=7 height=5 frames=2 gap=4 type=u16"), expected());

    const std::pair<const char*, const char*> wrong[]{
        {"height=5", "a whole number for width"},
        {"width=7 height=-5", "a whole number for height, not -5"},
        {"width=7 height=5 depth=2", "nobody knows: depth"},
        {"width=7 height=5 width=7", "width twice"},
        {"width=7 height=5 type=u12", "type=u12"},
        {"width=7 height=5 order=middle", "order=middle"},
        {"width=7 5", "no NAME=VALUE"},
        {"width=7 height=5", "bytes more than its layout"},
        {"width=7 height=5 frames=3 gap=4", "beyond its end"},
        {"width=70000 height=5", "too large"},
        {"width=7 height=5 frames=999999999999999", "burst of 999999999999999 frames"},
        {"width=7 height=5 offset=999999999999999", "beyond its end"},
        {"width=7 height=5 frames=2 gap=999999999999999", "beyond its end"},
        {"width=7 height=5 full_scale=x", "full_scale=x"}};
    for (const auto& [layout, message] : wrong)
        EXPECT_THAT(error_of<FileError>([&, &layout = layout] { read_raw(file, layout); }).what(),
                    HasSubstr(message))
            << layout;
}

TEST(ReadOnlyFormats, SayThatTheyAreNotWritten) {
    TemporaryFolder folder;
    EXPECT_THAT(error_of<FileError>([&] { write_image(example_image(), folder / "a.npy"); }).what(),
                HasSubstr("no plug-in for this extension"));
}

}  // namespace
}  // namespace vyn::test
