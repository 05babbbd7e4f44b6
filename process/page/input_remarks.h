#pragma once

#include <string>
#include <vector>

#include "api/image_list.h"
#include "core/data_set.h"

namespace vyn {

/// What a user should know of the inputs before trusting a result, one sentence each: dark images
/// and flat fields that are not used, saturated pixels, the conditions as they enter the law.
std::vector<std::string> input_remarks(const dataSetInterface& data, const imagesList& images);

}  // namespace vyn
