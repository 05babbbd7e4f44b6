#pragma once

#include <filesystem>

#include "api/field_data.h"
#include "core/progress.h"

namespace vyn::plugins {

/// Each zone as one of triangles, variable after variable; "nan" where a value was not seen.
/// Quantities at the nodes, or at the cells (of the triangles) where there are none at nodes.
void write_tecplot(const field_data<double>& field, const std::filesystem::path& file,
                   Progress& progress);

}  // namespace vyn::plugins
