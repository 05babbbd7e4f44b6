#pragma once

#include <filesystem>

#include "api/field_data.h"
#include "core/progress.h"

namespace vyn::plugins {

/// Plot3D files of structured zones: little-endian, without record marks, many grids, 8-byte. With
/// the extension "f" or "fun" the function file of the quantities at the nodes, NaN where a value
/// was not seen; else the grid with IBLANK, 0 where a vertex is blanked or has no value. Raises
/// FileError when a zone is not structured.
void write_plot3d(const field_data<double>& field, const std::filesystem::path& file,
                  Progress& progress);

}  // namespace vyn::plugins
