#pragma once

#include "core/data_set.h"

namespace vyn {

/// Writes what a new project starts with where that differs from the defaults, which are what old
/// projects compute with: the better ways.
void start_project(dataSetInterface& data);

}  // namespace vyn
