#include <cerrno>
#include <cmath>
#include <system_error>

#include <gmock/gmock.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"
#include "tests/support/error_of.h"
#include "tests/support/full_disk.h"
#include "tests/support/picture_of.h"

namespace vyn::test {
namespace {

class FloatFormats : public testing::TestWithParam<const char*> {};

TEST_P(FloatFormats, KeepTheMaskAsNaN) {
    TemporaryFolder folder;
    const auto file = folder / (std::string("field.") + GetParam());
    const image picture = example_image();
    write_image(picture, file);
    expect_picture(read_image(file), Numbers(7, 5, [&](int x, int y) {
                       return picture.mask()(x, y) != 0 ? NAN : picture.values()(x, y);
                   }));
}

INSTANTIATE_TEST_SUITE_P(Extensions, FloatFormats, testing::Values("tif", "TIFF", "fits"));

class WritingThatFails : public testing::TestWithParam<const char*> {};

TEST_P(WritingThatFails, LeavesTheOldFileOnAFullDiskAndSaysWhy) {
    TemporaryFolder folder;
    const auto file = folder / (std::string("kept.") + GetParam());
    put_file(file, "old");
    image noise =
        picture_of(300, 300, [](int x, int y) { return (x * 7919 + y * y * 1047) % 65521; });
    const std::string reason = std::generic_category().message(EFBIG);
    {
        const FullDisk disk(20000);
        EXPECT_THAT(error_of<FileError>([&] { write_image(noise, file); }).what(),
                    testing::HasSubstr(file.string() + ": " + reason));
    }
    EXPECT_EQ(get_file(file), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_P(WritingThatFails, LeavesTheOldFileWhenItIsStoppedMidway) {
    class Impatient : public Progress {
      public:
        void fraction(double done) override { done_ = done; }
        bool aborted() const override { return done_ > 0.2; }

      private:
        double done_ = 0;
    } impatient;
    TemporaryFolder folder;
    const auto file = folder / (std::string("kept.") + GetParam());
    put_file(file, "old");
    EXPECT_THROW(write_image(image(16, 1000), file, {}, impatient), Aborted);
    EXPECT_EQ(get_file(file), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

INSTANTIATE_TEST_SUITE_P(Extensions, WritingThatFails,
                         testing::Values("tif", "png", "fits", "imp"));

}  // namespace
}  // namespace vyn::test
