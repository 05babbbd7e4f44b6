#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "align/correlation/correlation_alignment.h"
#include "align/marker_alignment.h"
#include "api/field_conversion.h"
#include "api/filters.h"
#include "core/keys.h"

namespace vyn {

/// Settings as the options of the computations. What is switched off is not read.
RatioLimits ratio_limits(dataSetInterface& data);
MarkerMatchOptions match_options(dataSetInterface& data);
CorrelationOptions correlation_options(dataSetInterface& data);
/// Nothing when filtering is off.
std::optional<FilterOptions> filter_options(dataSetInterface& data);

/// The sub-tree with the type of the experiment; it decides by which images there are.
inline constexpr const char* experiment_flags = "project/test/";

/// Collects paths of the key table for a step's facts.
class SettingPaths {
  public:
    template <class... T>
    void add(const Key<T>&... key) {
        (paths_.emplace_back(key.path), ...);
    }
    void add(std::string_view tree, std::initializer_list<const char*> relative) {
        for (const char* name : relative)
            paths_.push_back(std::string(tree) + name);
    }
    std::vector<std::string> take() { return std::move(paths_); }

  private:
    std::vector<std::string> paths_;
};

}  // namespace vyn
