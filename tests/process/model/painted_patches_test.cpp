#include "process/model/painted_patches.h"

#include <gmock/gmock.h>

#include "core/errors.h"

namespace vyn::test {
namespace {

TEST(PaintedPatches, ComeBackFromTheirText) {
    PaintedPatches painted{{"flap \"left\", ±", "", "slat"}, {0, 1, 1, 1, 3, 0, 1, 3, 3, 0}};
    const std::string text = patches_text(painted, 10);
    EXPECT_EQ(parse_patches(text, 10, "here"), painted);
    EXPECT_EQ(face_patch(painted, 2).faces, (std::vector<std::size_t>{4, 7, 8}));
    EXPECT_TRUE(face_patch(painted, 1).faces.empty());
    // Named before anything is painted.
    const PaintedPatches named{{"a"}, {}};
    EXPECT_EQ(parse_patches(patches_text(named, 2), 2, "here").faces,
              (std::vector<std::uint8_t>{0, 0}));
}

TEST(PaintedPatches, AreRefusedWithTheReason) {
    const auto with_faces = [](const char* faces) {
        return std::string(R"({"triangles": 10, "patches": [{"name": "n", "faces": "0"}, )") +
               R"({"name": "flap", "faces": ")" + faces + R"("}]})";
    };
    const std::pair<std::string, const char*> cases[] = {
        {"", "no object with triangles and patches"},
        {"[1]", "no object with triangles and patches"},
        {R"({"triangles": -1, "patches": []})", "no object with triangles and patches"},
        {R"({"triangles": 11, "patches": []})", "a mesh of 11 triangles, this one has 10"},
        {R"({"triangles": 10, "patches": [{"name": "n"}]})", "a patch without name and faces"},
        {with_faces("1-3,x"), "patch flap: \"x\" is no range of faces"},
        {with_faces("5-3"), "\"5-3\" is no range"},
        {with_faces("1,,2"), "\"\" is no range"},
        {with_faces("99999999999999999999999"), "is no range"},
        {with_faces("8-10"), "face 10 is none of the mesh"},
        {with_faces("-1"), "\"-1\" is no range"},
        {with_faces("3,1-4"), "face 3 stands in it twice"},
        {with_faces("0"), "face 0 stands in it twice"}};
    for (const auto& [text, words] : cases)
        try {
            parse_patches(text, 10, "a.json");
            ADD_FAILURE() << text;
        } catch (const FileError& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(words));
            EXPECT_THAT(error.what(), testing::HasSubstr("a.json: "));
        }
}

}  // namespace
}  // namespace vyn::test
