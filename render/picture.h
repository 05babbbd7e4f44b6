#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "api/image.h"
#include "core/atomic_file.h"
#include "render/limits.h"
#include "render/palette.h"
#include "render/render.h"

namespace vyn {

/// What stands round a field in a picture.
struct FrameOptions {
    Limits limits;
    palette_array palette;
    bool colour_bar = false;  ///< with ticks, beside the field
    std::string label;        ///< of the colour bar: quantity and unit
    std::string title;        ///< above the field; printable ASCII, other characters become '?'
};

/// A picture of a field for papers and reports.
struct PictureOptions : FrameOptions {
    double scale = 1;      ///< picture pixels per image pixel
    bool vectors = false;  ///< arrows of the image's displacement, where it is valid
    bool markers = false;  ///< rings round the image's markers, with their numbers
};

/// Rows of red, green and blue bytes without gaps.
struct RgbPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;

    std::uint8_t* at(int x, int y) {
        return rgb.data() +
               3 * (std::size_t{static_cast<unsigned>(y)} * static_cast<unsigned>(width) +
                    static_cast<unsigned>(x));
    }
    const std::uint8_t* at(int x, int y) const { return const_cast<RgbPicture*>(this)->at(x, y); }
};

/// Puts the means of squares of `fineness` pixels into a rectangle of a picture.
void average_pixels(PixelBuffer fine, int fineness, int width, int height, int to_x, int to_y,
                    RgbPicture& out);

/// Draws an image in false colour. Shown smaller, every pixel is the mean of its colours; larger,
/// pixels stay crisp. With neither colour bar nor title there is nothing but the field. Raises
/// AlgoError for an image without values and mask, and when the scale is no positive number or the
/// picture would be too large.
RgbPicture draw_picture(const image& picture, const PictureOptions& options);

/// The largest scale, not above 1 and a power of 1/2, at which no side is longer than `side`
/// pixels: for thumbnails.
double scale_for_side(const image& picture, int side);

/// Keyword and text of a PNG file's description.
using PngTexts = std::vector<std::pair<std::string, std::string>>;

/// The picture as a PNG file's bytes.
std::vector<std::byte> png_bytes(const RgbPicture& picture, const PngTexts& texts = {});

/// Writes a PNG file, atomically. Raises FileError.
void write_png(const RgbPicture& picture, const std::filesystem::path& file,
               const PngTexts& texts = {});

}  // namespace vyn
