#include "core/file_lock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

TEST(FileLock, IsHeldOnceAndFreeAgainAfterItsOwner) {
    const test::TemporaryFolder folder;
    const auto file = folder / "project.lock";
    {
        const FileLock first(file);
        ASSERT_EQ(first.state(), FileLock::State::held);
        const FileLock second(file);
        EXPECT_EQ(second.state(), FileLock::State::taken);
        EXPECT_EQ(second.holder().find("process " + std::to_string(getpid()) + " on "), 0u);
    }
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(FileLock(file).state(), FileLock::State::held);
    EXPECT_EQ(FileLock("/proc/no/place").state(), FileLock::State::impossible);
}

TEST(FileLock, OfAProgramThatCrashedIsNoLock) {
    const test::TemporaryFolder folder;
    const auto file = folder / "project.lock";
    const pid_t child = fork();
    if (child == 0) {
        new FileLock(file);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(std::filesystem::exists(file));
    EXPECT_EQ(FileLock(file).state(), FileLock::State::held);
}

}  // namespace
}  // namespace vyn
