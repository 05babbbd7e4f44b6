#include "core/atomic_file.h"

#include <algorithm>
#include <csignal>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "core/errors.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

namespace fs = std::filesystem;
using test::get_file;
using test::put_file;
using testing::HasSubstr;

long files_in(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

template <class Action>
FileError error_of(Action action) {
    try {
        action();
    } catch (const FileError& error) {
        return error;
    }
    ADD_FAILURE() << "no FileError";
    return FileError("test", __LINE__, "none");
}

/// For its lifetime no file can grow beyond so many bytes: to a writer, a full disk.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit small{bytes, old_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old_{};
};

TEST(AtomicFile, ReplacesTheTargetAndLeavesNothingBeside) {
    const test::TemporaryFolder folder;
    const fs::path target = folder / (std::string(250, 'n') + ".tif");
    const std::string bytes("a\0b\r\n\xFF", 6);
    write_file(target, "old and longer than the new content");
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    write_file(target, bytes);
    EXPECT_EQ(get_file(target), bytes);
    EXPECT_EQ(read_file(target, bytes.size()), bytes);
    EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(files_in(folder.path()), 1);
}

TEST(AtomicFile, ALibraryWriterThatGivesUpLeavesTheOldTarget) {
    const test::TemporaryFolder folder;
    put_file(folder / "image.tif", "old");
    {
        const AtomicFile file(folder / "image.tif");
        EXPECT_EQ(file.temporary().extension(), ".tif");
        EXPECT_EQ(file.temporary().parent_path(), folder.path());
        put_file(file.temporary(), "half");
    }
    EXPECT_EQ(get_file(folder / "image.tif"), "old");
    EXPECT_EQ(files_in(folder.path()), 1);

    AtomicFile vanished(folder / "image.tif");
    fs::remove(vanished.temporary());
    EXPECT_STREQ(error_of([&] { vanished.commit(); }).text, "Error writing file");
    EXPECT_EQ(get_file(folder / "image.tif"), "old");
}

TEST(AtomicFile, AFullDiskLeavesTheOldTargetAndSaysWhy) {
    const test::TemporaryFolder folder;
    put_file(folder / "project.xml", "old");
    {
        const FullDisk disk(1000);
        const FileError error =
            error_of([&] { write_file(folder / "project.xml", std::string(5000, 'x')); });
        EXPECT_STREQ(error.text, "Error writing file");
        EXPECT_THAT(error.detail, HasSubstr("project.xml: "));
    }
    EXPECT_EQ(get_file(folder / "project.xml"), "old");
    EXPECT_EQ(files_in(folder.path()), 1);
}

TEST(AtomicFile, ATargetThatCannotBeReplacedIsRefusedBeforeWriting) {
    const test::TemporaryFolder folder;
    put_file(folder / "file", "kept");
    fs::create_directory(folder / "folder");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const fs::path& target : {folder / "file/below", folder / "missing/below",
                                   folder / "folder", folder / "pipe", fs::path("/dev/null")}) {
        const FileError error = error_of([&] { write_file(target, "new"); });
        EXPECT_STREQ(error.text, "Can't open file for writing!");
        EXPECT_THAT(error.detail, HasSubstr(target.string() + ": "));
    }
    EXPECT_STREQ(error_of([] { write_file("", "new"); }).text, "File Name is empty!");
    EXPECT_EQ(get_file(folder / "file"), "kept");
    EXPECT_EQ(files_in(folder.path()), 3);
}

TEST(AtomicFile, ASymbolicLinkStaysALink) {
    const test::TemporaryFolder folder;
    put_file(folder / "real", "old");
    fs::create_symlink("real", folder / "link");
    write_file(folder / "link", "new");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(get_file(folder / "real"), "new");
}

TEST(ReadFile, RefusesWhatIsNoFileOrTooLarge) {
    const test::TemporaryFolder folder;
    put_file(folder / "file", "12345");
    fs::create_directory(folder / "folder");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(read_file(folder / "file", 5), "12345");
    EXPECT_THAT(error_of([&] { read_file(folder / "file", 4); }).detail, HasSubstr("larger"));
    for (const fs::path& file : {folder / "missing", folder / "folder", folder / "pipe",
                                 folder / "file/below", fs::path("/dev/zero")}) {
        const FileError error = error_of([&] { read_file(file, 1000); });
        EXPECT_STREQ(error.text, "Can't open file for reading!");
        EXPECT_THAT(error.detail, HasSubstr(file.string() + ": "));
    }
}

}  // namespace
}  // namespace vyn
