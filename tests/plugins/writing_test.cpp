#include <cerrno>
#include <cmath>
#include <csignal>
#include <string>
#include <system_error>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

class FloatFormats : public testing::TestWithParam<const char*> {};

TEST_P(FloatFormats, KeepTheMaskAsNaN) {
    TemporaryFolder folder;
    const auto file = folder / (std::string("field.") + GetParam());
    const image picture = example_image();
    write_image(picture, file);
    const image back = read_image(file);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const bool excluded = picture.mask()(x, y) != 0;
            EXPECT_EQ(back.mask()(x, y), excluded);
            EXPECT_EQ(std::isnan(back.values()(x, y)), excluded);
            EXPECT_TRUE(excluded || back.values()(x, y) == picture.values()(x, y));
        }
}

INSTANTIATE_TEST_SUITE_P(Extensions, FloatFormats, testing::Values("tif", "TIFF", "fits"));

/// Lets no file grow beyond a size; a full disk looks like that to a program.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit limit{bytes, old_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &old_); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    rlimit old_{};
};

class FullDisk : public testing::TestWithParam<const char*> {};

TEST_P(FullDisk, LeavesTheOldFileAndSaysWhy) {
    TemporaryFolder folder;
    const auto file = folder / (std::string("kept.") + GetParam());
    put_file(file, "old");
    image noise(300, 300);
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 300; ++x)
            noise.values()(x, y) = static_cast<float>((x * 7919 + y * y * 1047) % 65521);
    const std::string reason = std::generic_category().message(EFBIG);
    try {
        const FileSizeLimit limit(20000);
        write_image(noise, file);
        ADD_FAILURE() << "no error";
    } catch (const FileError& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr(file.string() + ": " + reason));
    }
    EXPECT_EQ(get_file(file), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

INSTANTIATE_TEST_SUITE_P(Extensions, FullDisk, testing::Values("tif", "png", "fits", "imp"));

}  // namespace
}  // namespace vyn::test
