#pragma once

#include <filesystem>

#include "api/image.h"
#include "core/progress.h"

namespace vyn::plugins {

/// Reads a grey PNG of 1 to 16 bits; 1, 2 and 4 bits are stretched to 8. Wholly transparent pixels
/// (alpha 0) are excluded; any other transparency is ignored. Raises FileError naming the file.
image read_png(const std::filesystem::path& file, Progress& progress);

}  // namespace vyn::plugins
