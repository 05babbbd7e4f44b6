#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "api/image_io.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_folder.h"

struct tiff;  // libtiff's handle

namespace vyn::test {

/// A picture as plain numbers: what test files are made of and compared with.
struct Numbers {
    int width = 0;
    int height = 0;
    std::vector<double> values;

    Numbers(int columns, int rows, const std::function<double(int x, int y)>& value);
    double at(int x, int y) const {
        return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
};

/// How a TIFF file stores its samples; written with libtiff alone.
struct TiffSpec {
    const char* label = "";
    int bits = 16;
    int format = 1;          ///< SAMPLEFORMAT_UINT
    const char* mode = "w";  ///< libtiff's: byte order, BigTIFF
    int compression = 1;     ///< COMPRESSION_NONE
    int tile = 0;            ///< side of the tiles; 0 = strips of three rows
    int photometric = 1;     ///< PHOTOMETRIC_MINISBLACK
    int predictor = 0;
    int fill_order = 1;  ///< FILLORDER_MSB2LSB
};

struct TiffPageSpec {
    TiffSpec spec;
    Numbers numbers;
    std::uint32_t subfile = 0;
    std::function<void(::tiff*)> more = {};  ///< sets further tags
};

void make_tiff(const std::filesystem::path& file, const std::vector<TiffPageSpec>& pages);

/// Checks that the values are the same, and masked where they are not finite and nowhere else.
void expect_picture(const image& picture, const Numbers& numbers);

/// Names the cases of a parametrised test by their labels.
inline auto label_of() {
    return [](const auto& test) { return std::string(test.param.label); };
}

/// The message of the FileError that reading raises; fails when there is none, or when it does not
/// name the file.
std::string refusal(const std::filesystem::path& file);

/// A picture with excluded pixels (a NaN value among them), a region and odd numbers.
image example_image();

}  // namespace vyn::test
