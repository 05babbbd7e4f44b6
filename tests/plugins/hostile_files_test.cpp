#include <random>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;

/// A sound file, and how many of its bytes the picture needs.
struct Sample {
    const char* label;
    const char* extension;
    void (*make)(const fs::path& file);
    std::size_t (*needed)(std::size_t file_size) = [](std::size_t size) { return size; };
};

Numbers ramp() {
    return {20, 15, [](int x, int y) { return x * 100 + y; }};
}

/// FITS files are padded to whole records; 7 x 5 floats follow two header records or one.
std::size_t without_padding(std::size_t size) {
    return size - 2880 + 7 * 5 * 4;
}

const Sample samples[]{
    {"tiff", "tif",
     [](const fs::path& file) {
         make_tiff(file, {{TiffSpec{}, ramp()}});
     }},
    {"tiff_burst", "tif",
     [](const fs::path& file) {
         const TiffSpec deflate{"", 32, 3, "wb", 8};
         make_tiff(file, {{deflate, ramp()}, {deflate, ramp()}, {deflate, ramp()}});
     }},
    {"bigtiff_tiles", "tif",
     [](const fs::path& file) {
         make_tiff(file, {{TiffSpec{"", 12, 1, "w8", 5, 16}, ramp()}});
     }},
    {"png", "png", [](const fs::path& file) { write_image(example_image(), file); }},
    {"fits", "fits",
     [](const fs::path& file) {
         write_image(example_image(), file, {{}, "\"note\""});
     },
     without_padding},
    {"imp", "imp",
     [](const fs::path& file) {
         image picture = example_image();
         picture.fill_region(1);
         picture.displacement = Displacement{Bitmap<float>(2, 2, 1.f), Bitmap<float>(2, 2, 1.f), 4};
         picture.markers.markers.resize(2);
         write_image(picture, file, {{}, R"({"input": "a.tif"})"});
     }},
};

class HostileFile : public testing::TestWithParam<Sample> {
  protected:
    HostileFile() : sound_(folder_ / (std::string("sound.") + GetParam().extension)) {
        GetParam().make(sound_);
        bytes_ = get_file(sound_);
    }

    /// True when the changed bytes could be read; anything but FileError fails the test.
    bool reads(const std::string& bytes) {
        const auto file = folder_ / (std::string("changed.") + GetParam().extension);
        put_file(file, bytes);
        try {
            const image picture = read_image(file);
            // What came out must have been backed by the file.
            EXPECT_LE(picture.values().count(), 1400 * bytes.size() + 65536);
            return true;
        } catch (const FileError& error) {
            EXPECT_NE(std::string(error.what()).find(file.string()), std::string::npos);
            return false;
        }
    }

    TemporaryFolder folder_;
    fs::path sound_;
    std::string bytes_;
};

long peak_kilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST_P(HostileFile, CutOffAnywhereIsRefused) {
    ASSERT_TRUE(reads(bytes_));
    const std::size_t needed = GetParam().needed(bytes_.size());
    const std::size_t step = std::max<std::size_t>(1, needed / 150);
    for (std::size_t length = 0; length < needed; length += step)
        EXPECT_FALSE(reads(bytes_.substr(0, length))) << length << " of " << bytes_.size();
    for (std::size_t missing = 1; missing < 20; ++missing)
        EXPECT_FALSE(reads(bytes_.substr(0, needed - missing))) << missing << " missing";
}

TEST_P(HostileFile, ChangedBytesNeitherCrashNorTakeAbsurdMemory) {
    const long before = peak_kilobytes();
    std::mt19937 random(20240229);
    constexpr int rounds = 400;
    for (int round = 0; round < rounds; ++round) {
        std::string changed = bytes_;
        // Half of the changes hit the beginning or the end, where headers and directories are.
        const std::size_t edge = std::min<std::size_t>(changed.size(), 400);
        for (unsigned i = 0, count = 1 + static_cast<unsigned>(random() % 3); i < count; ++i) {
            const std::size_t place = random() % 2   ? random() % changed.size()
                                      : random() % 2 ? random() % edge
                                                     : changed.size() - 1 - random() % edge;
            const char values[]{0, 1, '\x7f', '\x80', '\xff', static_cast<char>(random())};
            changed[place] = values[random() % sizeof values];
        }
        reads(changed);
    }
    // Far below what one absurd size would take, far above what the small pictures do.
    EXPECT_LT(peak_kilobytes() - before, 512 * 1024);
}

INSTANTIATE_TEST_SUITE_P(Formats, HostileFile, testing::ValuesIn(samples), label_of());

}  // namespace
}  // namespace vyn::test
