#pragma once

#include <filesystem>

#include "api/image_io.h"

namespace vyn::plugins {

/// Writes 16-bit grey, excluded pixels as 0. Values are rounded and clipped to 0..65535 with a log
/// line that counts the clipped ones; with Scale::stretch the range of the valid pixels becomes
/// 1..65535 and stands in the log and in the file. Raises FileError naming the file, Aborted when
/// told to stop.
void write_png(const image& picture, const std::filesystem::path& file,
               const ImageWriteOptions& options, Progress& progress);

}  // namespace vyn::plugins
