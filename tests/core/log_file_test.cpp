#include "core/log_file.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "core/user_folders.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

using test::get_file;
using test::TemporaryFolder;

TEST(LogFile, KeepsEveryLevelAcrossRunsWithinItsBound) {
    const TemporaryFolder folder;
    const auto path = folder / "new" / "vynlite.log";
    get_log_mgr().set_level(LogLevel::fatal);
    {
        const LogFile file(path, 200);
        get_log().write(LogLevel::progress, "first run");
    }
    get_log().write(LogLevel::failure, "between the runs");
    {
        const LogFile file(path, 200);
        get_log().write(LogLevel::failure, "second run");
        EXPECT_TRUE(get_file(path).find(" 4 first run\n") != std::string::npos);
        EXPECT_TRUE(get_file(path).find(" 1 second run\n") != std::string::npos);
        for (int i = 0; i < 100; ++i)
            get_log().write(LogLevel::information, "line " + std::to_string(i));
    }
    get_log_mgr().set_level(LogLevel::progress);
    const std::string newest = get_file(path);
    const std::string older = get_file(path.string() + ".1");
    EXPECT_EQ(newest.find("between"), std::string::npos);
    EXPECT_LE(newest.size(), 250u);
    EXPECT_LE(older.size(), 250u);
    EXPECT_NE(newest.find("line 99\n"), std::string::npos);
    // Nothing is lost where one file follows the other.
    const std::string both = older + newest;
    for (int i = 95; i < 100; ++i)
        EXPECT_NE(both.find("line " + std::to_string(i) + "\n"), std::string::npos) << i;
}

TEST(LogFile, AFileThatCannotBeWrittenIsGivenUp) {
    const LogFile file("/proc/no/such/place/vynlite.log");
    EXPECT_NO_THROW(get_log().write(LogLevel::information, "lost"));
}

TEST(UserFolders, StateFollowsTheEnvironment) {
    const char* set = std::getenv("XDG_STATE_HOME");
    const std::string old = set ? set : "";
    setenv("XDG_STATE_HOME", "/somewhere/state", 1);
    EXPECT_EQ(state_folder(), "/somewhere/state/vynlite");
    setenv("XDG_STATE_HOME", "relative", 1);
    EXPECT_EQ(state_folder(), std::string(std::getenv("HOME")) + "/.local/state/vynlite");
    const std::string home = std::getenv("HOME");
    unsetenv("HOME");
    EXPECT_TRUE(state_folder().is_absolute());
    setenv("HOME", home.c_str(), 1);
    if (set)
        setenv("XDG_STATE_HOME", old.c_str(), 1);
    else
        unsetenv("XDG_STATE_HOME");
}

}  // namespace
}  // namespace vyn
