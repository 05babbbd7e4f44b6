#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/plugins/sample_files.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

/// May change the search path.
class PluginLoading : public testing::Test {
  protected:
    ~PluginLoading() override { setenv("VYNLITE_PLUGINS", PLUGINS, 1); }
};

TEST_F(PluginLoading, LeavesOutWhatDoesNotFitAndSaysWhy) {
    TemporaryFolder folder;
    put_file(folder / "broken.2dio", "no library");
    put_file(folder / "other.txt", "not even looked at");
    const std::string path = folder.path().string() + ":/nowhere:" + TEST_PLUGINS;
    setenv("VYNLITE_PLUGINS", path.c_str(), 1);
    const LogCapture log;
    EXPECT_EQ(register_plugins("*.2dio"), 0);
    EXPECT_THAT(log.lines(),
                Contains(HasSubstr((folder / "broken.2dio").string() + " is left out")));
    EXPECT_THAT(log.lines(),
                Contains(HasSubstr("interface " + std::to_string(plugin_interface_version + 1) +
                                   ", this program has ")));
    EXPECT_THAT(log.lines(), testing::Not(Contains(HasSubstr("other.txt"))));
}

TEST_F(PluginLoading, TakesNothingFromWhereOthersMayPutIt) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "open");
    std::filesystem::permissions(folder / "open", std::filesystem::perms::all);
    const std::string path = (folder / "open").string() + ":plugins:" + folder.path().string();
    setenv("VYNLITE_PLUGINS", path.c_str(), 1);
    const LogCapture log;
    EXPECT_THAT(plugin_folders(), testing::ElementsAre(folder.path()));
    EXPECT_THAT(log.lines(), Contains(HasSubstr("open: others may write to it")));
    EXPECT_THAT(log.lines(), Contains(HasSubstr("from plugins: no full name")));
}

TEST_F(PluginLoading, KeepsTheFirstOfEachFormat) {
    const auto count = get_2dio().formats().size();
    const LogCapture log;
    EXPECT_EQ(register_plugins("*.2dio"), 0);
    EXPECT_EQ(get_2dio().formats().size(), count);
    EXPECT_THAT(log.lines(), Contains(HasSubstr("'tiff' is registered already")));
}

TEST_F(PluginLoading, FoldersComeFromTheVariableOrLieBesideTheLibrary) {
    setenv("VYNLITE_PLUGINS", "/a::/b", 1);
    EXPECT_THAT(plugin_folders(), testing::ElementsAre("/a", "/b"));
    unsetenv("VYNLITE_PLUGINS");
    EXPECT_THAT(plugin_folders(), testing::ElementsAre(PLUGINS));
}

}  // namespace
}  // namespace vyn::test
