#pragma once

#include "api/image_io.h"

namespace vyn::plugins {

/// An array of rows and columns, or of frames, rows and columns. Raises FileError.
image read_hdf5(const std::filesystem::path& file, const ImageReadOptions& options,
                Progress& progress);

}  // namespace vyn::plugins
