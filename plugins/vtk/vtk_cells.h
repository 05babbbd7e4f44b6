#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "plugins/mesh_support/mesh_builder.h"

namespace vyn::plugins {

/// What VTK's files hold, before it is a mesh: points, cells of any type, arrays at both.
struct VtkArray {
    std::string name;
    int components = 1;
    std::vector<double> values;
};

struct VtkPiece {
    std::vector<double> points;              ///< three numbers each
    std::array<std::int64_t, 3> size{};      ///< points of a structured grid in i, j, k; else 0
    std::vector<std::int64_t> connectivity;  ///< points of one cell after another
    std::vector<std::int64_t> ends;          ///< where each cell ends in it
    std::vector<int> types;                  ///< VTK's cell types
    std::vector<VtkArray> point_data;
    std::vector<VtkArray> cell_data;
};

/// Texts and numbers beside the geometry.
struct VtkFieldData {
    std::vector<VtkArray> numbers;
    std::vector<std::pair<std::string, std::vector<std::string>>> texts;
};

namespace vtk_types {
inline constexpr int vertices = 2;
inline constexpr int polyline = 4;
inline constexpr int triangle = 5;
inline constexpr int strip = 6;
inline constexpr int polygon = 7;
inline constexpr int pixel = 8;
inline constexpr int quad = 9;
}  // namespace vtk_types

/// Names of what this program adds to a file, so that it reads back as it was.
namespace vtk_names {
inline constexpr const char* zone = "zone";  ///< by cell: the number of its zone
inline constexpr const char* zone_names = "zone_names";
inline constexpr const char* zone_sizes = "zone_sizes";  ///< ni, nj, first vertex of each
inline constexpr const char* unit = "length_unit";
inline constexpr const char* history = "history";
inline constexpr const char* views = "views";  ///< names of the views
inline constexpr const char* view_numbers = "view_numbers";
inline constexpr const char* quantity_units = "quantity_units";  ///< name, unit, name, unit, ...
inline constexpr const char* ghosts = "vtkGhostType";            ///< VTK's own: 2 = hidden point
}  // namespace vtk_names

/// Points and surface cells of the pieces, one after another, as a mesh. Points and lines are left
/// out; volume cells are refused.
field_data<double> mesh_of(const std::filesystem::path& file, std::vector<VtkPiece> pieces,
                           const VtkFieldData& field_data);

/// The numbers of a view in a file: rotation, shift, fx, fy, the two lenses, size, rms.
inline constexpr std::size_t numbers_per_view = 25;
std::vector<double> view_numbers(const field_data<double>::View& view);

/// Puts names, unit, views and history that the file carries into the mesh.
void restore_attributes(const VtkFieldData& stored, field_data<double>& mesh);

}  // namespace vyn::plugins
