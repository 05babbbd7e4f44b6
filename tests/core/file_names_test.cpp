#include "core/file_names.h"

#include <gmock/gmock.h>

#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

TEST(FileNames, OneFileSeveralOrAPattern) {
    const test::TemporaryFolder folder;
    for (const char* name :
         {"a10.tif", "a9.tif", "b.tif", "c[1].tif", "c1.tif", "d;e.tif", ".h.tif"})
        test::put_file(folder / name, "x");
    std::filesystem::create_directory(folder / "a1.tif");
    using Names = std::vector<std::string>;
    const std::pair<const char*, Names> cases[] = {
        {"b.tif", {"b.tif"}},
        {"a*.tif", {"a9.tif", "a10.tif"}},  // no folders, numbers as numbers
        {"b.tif;a10.tif;a*.tif", {"b.tif", "a10.tif", "a9.tif"}},
        {"?.tif", {"b.tif"}},
        {"*.tif;none.tif", {}},
        {"b.tif;", {}},
        {"none*", {}},
        {"d;e.tif", {"d;e.tif"}},
        {"c[1].tif", {"c[1].tif"}},
        {"c[1]*", {"c[1].tif"}},  // brackets are no pattern
        {"b[1].tif", {}}};
    for (const auto& [name, expected] : cases) {
        Names found;
        for (const auto& file : files_named(folder / name)) {
            EXPECT_EQ(file.parent_path(), (folder / name).parent_path());
            found.push_back(file.filename().string());
        }
        EXPECT_EQ(found, expected) << name;
    }
    EXPECT_TRUE(files_named(folder / "nowhere/*.tif").empty());
    const auto together = files_named(folder / "b.tif;a*.tif");
    EXPECT_EQ(files_named(name_of_files(together)), together);
}

}  // namespace
}  // namespace vyn
