#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/data_set.h"

namespace vyn {

/// What a result is computed from.
struct ResultSources {
    std::vector<std::string> images;
    bool markers = true;                ///< the markers of those images matter
    std::vector<std::string> settings;  ///< paths of those that have an effect as things stand
};

/// Of one of `image_names::results`, for the project's type of experiment.
ResultSources result_sources(dataSetInterface& data, std::string_view result);

}  // namespace vyn
