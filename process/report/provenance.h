#pragma once

#include <nlohmann/json_fwd.hpp>

#include "api/image_list.h"
#include "core/data_set.h"

namespace vyn {

/// The program, the settings and the input files with their digests: what a result came from.
nlohmann::json provenance(const dataSetInterface& data, const imagesList& images);

}  // namespace vyn
