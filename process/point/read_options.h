#pragma once

#include <filesystem>

#include "api/image_io.h"
#include "core/data_set.h"

namespace vyn {

/// How the project wants a picture file read.
ImageReadOptions read_options(const dataSetInterface& data, const std::filesystem::path& file);

}  // namespace vyn
