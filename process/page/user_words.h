#pragma once

#include <string>
#include <string_view>

#include "process/point/experiment_type.h"

namespace vyn {

/// A text of the program as the window shows it: images of the list by their labels, settings by
/// their meaning in quotes instead of their path.
std::string user_words(ExperimentType type, std::string_view text);

}  // namespace vyn
