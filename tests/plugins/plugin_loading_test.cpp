#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/plugins/sample_files.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

/// Sets the search path for one test.
class SearchPath {
  public:
    explicit SearchPath(const std::string& folders) {
        setenv("VYNLITE_PLUGINS", folders.c_str(), 1);
    }
    ~SearchPath() { setenv("VYNLITE_PLUGINS", PLUGINS, 1); }
    SearchPath(const SearchPath&) = delete;
    SearchPath& operator=(const SearchPath&) = delete;
};

TEST(PluginLoading, LeavesOutWhatDoesNotFitAndSaysWhy) {
    TemporaryFolder folder;
    put_file(folder / "broken.2dio", "no library");
    put_file(folder / "other.txt", "not even looked at");
    const SearchPath path(folder.path().string() + ":/nowhere:" + TEST_PLUGINS);
    const LogCapture log;
    EXPECT_EQ(register_plugins("*.2dio"), 0);
    EXPECT_THAT(log.lines(),
                Contains(HasSubstr((folder / "broken.2dio").string() + " is left out")));
    EXPECT_THAT(log.lines(), Contains(HasSubstr("interface 2, this program has 1")));
    EXPECT_THAT(log.lines(), testing::Not(Contains(HasSubstr("other.txt"))));
}

TEST(PluginLoading, KeepsTheFirstOfEachFormat) {
    const auto count = get_2dio().formats().size();
    const LogCapture log;
    EXPECT_EQ(register_plugins("*.2dio"), 0);
    EXPECT_EQ(get_2dio().formats().size(), count);
    EXPECT_THAT(log.lines(), Contains(HasSubstr("'tiff' is registered already")));
}

TEST(PluginFolders, ComeFromTheVariableOrLieBesideTheProgram) {
    const SearchPath path("/a::/b");
    EXPECT_THAT(plugin_folders(), testing::ElementsAre("/a", "/b"));
    unsetenv("VYNLITE_PLUGINS");
    const auto folders = plugin_folders();
    ASSERT_EQ(folders.size(), 2u);
    EXPECT_EQ(folders[0], PLUGINS);
    EXPECT_THAT(folders[1].string(), testing::EndsWith("/vynlite/plugins"));
}

}  // namespace
}  // namespace vyn::test
