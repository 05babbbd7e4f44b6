#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "core/clock_time.h"
#include "core/progress.h"
#include "plugins/tiff_support/tiff_file.h"
#include "plugins/tiff_support/tiff_samples.h"

namespace vyn::plugins {

/// A page of one grey value per pixel, with or without its opacity, found sound: readable type,
/// sane size, and as many pixels as its compressed bytes can hold.
struct TiffPage {
    int width = 0;
    int height = 0;
    TiffSamples samples;
    bool min_is_white = false;
    /// A second sample of each pixel tells how opaque it is.
    bool alpha = false;

    bool operator==(const TiffPage&) const = default;
};

/// True when the file's current page is a picture of its own, not a thumbnail or a transparency
/// mask of another page.
bool is_full_page(const TiffFile& file);

/// The ImageDescription of the current page; empty when it has none.
std::string description(const TiffFile& file);

/// How the first page lies and what its values mean.
struct TiffMeaning {
    int orientation = 1;               ///< as in the tag: 1 = as stored
    std::optional<double> full_scale;  ///< MaxSampleValue of a sensor of fewer bits
    std::optional<double> no_data;     ///< the value of pixels without data (GDAL's tag)
};
TiffMeaning meaning(const TiffFile& file, const TiffPage& page);

/// When and how long the picture was exposed, by its Exif tags and its date.
struct TiffExposure {
    std::optional<double> exposure;  ///< seconds
    std::optional<ClockTime> taken;
};
/// Of the first page, to which the file goes back.
TiffExposure exposure(TiffFile& file);

/// Examines the current page. Raises FileError naming the file: colour, unknown type, too large,
/// cut off.
TiffPage examine_page(const TiffFile& file);

/// Hands out the rows of the current page from top to bottom, each as the library decoded it (see
/// decode_row). Raises FileError when the data cannot be decoded, and Aborted.
using TiffRowSink = std::function<void(int y, const std::byte* packed)>;
void read_rows(const TiffFile& file, const TiffPage& page, Progress& progress,
               const TiffRowSink& sink);

}  // namespace vyn::plugins
