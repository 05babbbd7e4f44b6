#pragma once

#include <filesystem>

#include "api/frame_average.h"
#include "api/image_io.h"
#include "core/data_set.h"

namespace vyn {

/// How the project wants a picture file read.
ImageReadOptions read_options(const dataSetInterface& data, const std::filesystem::path& file);

/// How it wants several of them made one.
AverageOptions average_options(const dataSetInterface& data);

}  // namespace vyn
