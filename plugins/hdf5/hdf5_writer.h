#pragma once

#include "api/image_io.h"

namespace vyn::plugins {

/// A NeXus file whose default plot is the image (NXdata): the values, NaN where excluded, with
/// unit, axes in pixels with y downwards, the mask beside them and the description as a note.
/// Raises FileError.
void write_hdf5(const image& picture, const std::filesystem::path& file,
                const ImageWriteOptions& options, Progress& progress);

}  // namespace vyn::plugins
