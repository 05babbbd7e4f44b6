#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "api/field_data.h"

namespace vyn::plugins {

/// Collects what a reader finds and makes it a sound mesh: finite coordinates, vertices that are
/// there, polygons as fans of triangles that know their cell, zones in one piece each.
class MeshBuilder {
  public:
    explicit MeshBuilder(std::filesystem::path file) : file_(std::move(file)) {}

    /// Cells from here on belong to the zone of that name, an old one or a new one.
    void begin_zone(const std::string& name);
    /// Its number.
    int add_vertex(double x, double y, double z);
    /// A cell of three or more corners; those of fewer have no surface and are left out.
    void add_cell(std::span<const std::int64_t> corners);
    /// A zone of ni x nj vertices that start at `first`, i running fastest.
    void add_structured(const std::string& name, int ni, int nj, std::size_t first);
    /// Values at the vertices or, with all cells given to `add_cell`, at those in their order.
    void add_quantity(field_data<double>::Quantity quantity);
    std::vector<std::uint8_t>& blanked() { return mesh_.blanked; }
    std::size_t vertex_count() const { return mesh_.vertices.size(); }
    std::size_t offered_cells() const { return kept_.size(); }
    const std::array<double, 3>& vertex(std::size_t number) const { return mesh_.vertices[number]; }
    void reserve_vertices(std::size_t count) { mesh_.vertices.reserve(count); }
    void reserve_triangles(std::size_t count);

    /// The mesh; refuses one without faces, and faces of vertices that are not there.
    field_data<double> take();

  private:
    struct Cell {
        std::size_t corner;  ///< first of `corners_`
        std::uint32_t count;
        std::int32_t zone;
    };
    struct Zone {
        std::string name;
        std::size_t first = 0;
        int ni = 0;
        int nj = 0;
    };
    void check_corners() const;
    /// Numbers of the cells, zone after zone.
    std::vector<std::size_t> order() const;
    void make_triangles(const std::vector<std::size_t>& cells);
    void arrange_cell_values(const std::vector<std::size_t>& cells);

    std::filesystem::path file_;
    field_data<double> mesh_;
    std::vector<std::int64_t> corners_;
    std::vector<Cell> cells_;
    std::vector<std::int64_t> kept_;  ///< by cells offered: its number in cells_, or -1
    std::vector<Zone> zones_;
    int zone_ = -1;
};

}  // namespace vyn::plugins
