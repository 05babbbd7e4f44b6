#include "core/atomic_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/errors.h"
#include "tests/support/error_of.h"
#include "tests/support/full_disk.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

namespace fs = std::filesystem;
using test::error_of;
using test::get_file;
using test::put_file;
using testing::HasSubstr;

long files_in(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

TEST(AtomicFile, ReplacesTheTargetAndLeavesNothingBeside) {
    const test::TemporaryFolder folder;
    const fs::path target = folder / (std::string(250, 'n') + ".tif");
    const std::string bytes("a\0b\r\n\xFF", 6);
    write_file(target, "old and longer than the new content");
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    write_file(target, bytes);
    EXPECT_EQ(get_file(target), bytes);
    EXPECT_EQ(read_file(target, bytes.size()), bytes);
    EXPECT_THAT(error_of<FileError>([&] { read_file(target, 5); }).detail, HasSubstr("larger"));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(files_in(folder.path()), 1);

    fs::create_symlink(target.filename(), folder / "link");
    write_file(folder / "link", "new");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(get_file(target), "new");
}

TEST(AtomicFile, AWriterThatGivesUpOrAFullDiskLeavesTheOldTarget) {
    const test::TemporaryFolder folder;
    const fs::path target = folder / "image.tif";
    put_file(target, "old");
    {
        const AtomicFile file(target);
        EXPECT_EQ(file.temporary().extension(), ".tif");
        EXPECT_EQ(file.temporary().parent_path(), folder.path());
        put_file(file.temporary(), "half");
    }
    {
        const test::FullDisk disk(1000);
        const auto error = error_of<FileError>([&] { write_file(target, std::string(5000, 'x')); });
        EXPECT_STREQ(error.text, "Error writing file");
        EXPECT_THAT(error.detail, HasSubstr("image.tif: "));
    }
    EXPECT_EQ(files_in(folder.path()), 1);
    AtomicFile vanished(target);
    fs::remove(vanished.temporary());
    EXPECT_STREQ(error_of<FileError>([&] { vanished.commit(); }).text, "Error writing file");
    EXPECT_EQ(get_file(target), "old");
}

TEST(AtomicFile, FollowsLinksToTheirEnd) {
    const test::TemporaryFolder folder;
    fs::create_symlink("second", folder / "first");
    fs::create_symlink("target", folder / "second");
    write_file(folder / "first", "new");
    EXPECT_EQ(get_file(folder / "target"), "new") << "it was not there before";
    EXPECT_TRUE(fs::is_symlink(folder / "first"));
    fs::create_symlink("circle", folder / "circle");
    EXPECT_THAT(error_of<FileError>([&] { write_file(folder / "circle", "new"); }).detail,
                HasSubstr("circle: Too many levels"));
    put_file(folder / "stream", "before ");
    EXPECT_TRUE(is_stream("/dev/stdout"));
    EXPECT_FALSE(is_stream(folder / "stream"));
}

TEST(AtomicFile, DoesNotReplaceWhatOthersMadeMeanwhile) {
    const test::TemporaryFolder folder;
    AtomicFile mine(folder / "new");
    put_file(mine.temporary(), "mine");
    put_file(folder / "new", "theirs");
    EXPECT_THAT(error_of<FileError>([&] { mine.commit(); }).detail, HasSubstr("exists"));
    EXPECT_EQ(get_file(folder / "new"), "theirs");
}

/// Libraries may make the file anew.
TEST(AtomicFile, KeepsThePermissionsWhoeverWrites) {
    const test::TemporaryFolder folder;
    put_file(folder / "old", "old");
    fs::permissions(folder / "old", fs::perms::owner_read | fs::perms::owner_write);
    AtomicFile file(folder / "old");
    fs::remove(file.temporary());
    put_file(file.temporary(), "new");
    file.commit();
    EXPECT_EQ(get_file(folder / "old"), "new");
    EXPECT_EQ(fs::status(folder / "old").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
}

TEST(TemporaryFiles, LeftoversOfKilledProgramsGo) {
    const test::TemporaryFolder folder;
    const std::string own = std::to_string(getpid());
    const auto hours_ago = fs::file_time_type::clock::now() - std::chrono::hours(2);
    for (const std::string& name : {std::string(".vyn-999999999-0.tif"), ".vyn-" + own + "-7.tif",
                                    std::string(".vyn-notes"), std::string("999999999-0.tif")}) {
        put_file(folder / name, "x");
        fs::last_write_time(folder / name, hours_ago);
    }
    put_file(folder / ".vyn-999999999-1.tif", "young");
    fs::create_directory(folder / ".vyn-999999999-2");
    put_file(folder / ".vyn-999999999-2/part", "x");
    fs::last_write_time(folder / ".vyn-999999999-2", hours_ago);
    write_file(folder / "any", "x");
    EXPECT_FALSE(fs::exists(folder / ".vyn-999999999-0.tif"));
    EXPECT_FALSE(fs::exists(folder / ".vyn-999999999-2"));
    EXPECT_EQ(files_in(folder.path()), 5) << "all others stay";
}

TEST(AtomicFile, WhatCannotBeAFileIsRefused) {
    const test::TemporaryFolder folder;
    put_file(folder / "file", "kept");
    fs::create_directory(folder / "folder");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const fs::path& target : {folder / "file/below", folder / "missing/below",
                                   folder / "folder", folder / "pipe", fs::path("/dev/zero")}) {
        const auto written = error_of<FileError>([&] { write_file(target, "new"); }, target);
        EXPECT_STREQ(written.text, "Can't open file for writing!");
        EXPECT_THAT(written.detail, HasSubstr(target.string() + ": "));
        const auto read = error_of<FileError>([&] { read_file(target, 1000); }, target);
        EXPECT_STREQ(read.text, "Can't open file for reading!");
        EXPECT_THAT(read.detail, HasSubstr(target.string() + ": "));
    }
    EXPECT_STREQ(error_of<FileError>([] { write_file("", "new"); }).text, "File Name is empty!");
    EXPECT_EQ(get_file(folder / "file"), "kept");
    EXPECT_EQ(files_in(folder.path()), 3);
}

}  // namespace
}  // namespace vyn
