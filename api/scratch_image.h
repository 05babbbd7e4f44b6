#pragma once

#include <filesystem>

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// Writes an image to a file on its way into `target`, in the format of the file's extension:
/// neither atomically nor flushed to the disk, which would take its time and cannot be interrupted.
/// Raises what `write_image` does, but a FileError names the target.
void write_scratch_image(const image& picture, const std::filesystem::path& scratch,
                         const std::filesystem::path& target, Progress& progress);

}  // namespace vyn
