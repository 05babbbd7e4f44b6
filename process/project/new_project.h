#pragma once

#include "calib/paint.h"
#include "core/data_set.h"

namespace vyn {

/// Writes what a new project starts with where that differs from the defaults, which are what old
/// projects compute with: the better ways.
void start_project(dataSetInterface& data);

/// Test conditions in the units of the paint, which its law takes as they stand, and pressures at
/// ports in its unit, where the project has no pressures and temperatures yet.
void take_units_of_paint(dataSetInterface& data, const paintFeatures& paint);

}  // namespace vyn
