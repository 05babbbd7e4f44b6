#pragma once

#include <string>
#include <vector>

#include "api/image.h"
#include "render/figure.h"
#include "render/hatching.h"
#include "render/limits.h"
#include "render/palette.h"
#include "render/render.h"

namespace vyn {

/// What stands round a field in a picture.
struct FrameOptions {
    Limits limits;
    palette_array palette;
    bool colour_bar = false;         ///< with ticks, beside the field
    std::string label;               ///< of the colour bar: quantity and unit
    std::string title;               ///< above the field
    std::vector<double> iso_levels;  ///< lines of these values are drawn on it, rising
    bool iso_labels = true;          ///< with their numbers
};

/// A picture of a field for papers and reports.
struct PictureOptions : FrameOptions {
    double scale = 1;      ///< picture pixels per image pixel
    bool vectors = false;  ///< arrows of the image's displacement, where it is valid
    bool markers = false;  ///< rings round the image's markers, with their numbers
    Hatching hatching;     ///< of what is less sure than a limit
};

/// Puts the means of squares of `fineness` pixels into rows of a picture from `to_y` on.
void average_pixels(PixelBuffer fine, int fineness, int width, int height, int to_y,
                    RgbPicture& out);

/// An image in false colour. Shown smaller, every pixel is the mean of its colours; larger, pixels
/// stay crisp. With neither colour bar nor title there is nothing but the field. Raises AlgoError
/// for an image without values and mask, IndexError for standard deviations of
/// another size, and when the scale is no positive number or the picture
/// would be too large.
Figure field_figure(const image& picture, const PictureOptions& options);

/// Its pixels.
RgbPicture draw_picture(const image& picture, const PictureOptions& options);

/// The largest scale, not above 1 and a power of 1/2, at which no side is longer than `side`
/// pixels: for thumbnails.
double scale_for_side(const image& picture, int side);

}  // namespace vyn
