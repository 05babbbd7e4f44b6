#pragma once

#include <filesystem>
#include <string>

#include "api/field_data.h"
#include "core/progress.h"

namespace vyn::plugins {

/// VTK's XML files: polydata, unstructured and structured grids; arrays in line or appended, as
/// text, base64 or raw, plain or compressed by zlib.
field_data<double> read_vtk_xml(const std::filesystem::path& file, const std::string& bytes,
                                Progress& progress);
/// The files that begin "# vtk DataFile": the same kinds, text or binary.
field_data<double> read_vtk_legacy(const std::filesystem::path& file, const std::string& bytes,
                                   Progress& progress);

/// Cells as polygons, values as 64-bit numbers appended raw, NaN where not seen; unit, zones, views
/// and history as field data.
void write_vtk_xml(const field_data<double>& field, const std::filesystem::path& file,
                   Progress& progress);
/// The same in the old form, binary, without zones, views and history.
void write_vtk_legacy(const field_data<double>& field, const std::filesystem::path& file,
                      Progress& progress);

}  // namespace vyn::plugins
