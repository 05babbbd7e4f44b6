#pragma once

#include <vector>

#include "mesh/prepared_mesh.h"
#include "projection/projection.h"

namespace vyn {

/// What gets a value: a node, or a cell with five places to look at.
struct Target {
    Vec3 place{};
    /// Outward normals, any of which may face the camera; none: no surface.
    std::vector<Vec3> normals;
    std::vector<Vec3> probes;  ///< where rays start, the place itself first
    int own_place = -1;        ///< faces there do not hide it
    bool both_sides = false;
};

/// Targets one at a time, so that a block of them costs no memory.
class Targets {
  public:
    Targets(const PreparedMesh& prepared, const ProjectionOptions& options);
    std::size_t count() const { return count_; }
    void get(std::size_t index, Target& target) const;
    /// The triangles around a node, for its dual cell; nothing for cells.
    const int* faces_begin(std::size_t node) const { return faces_.data() + first_face_[node]; }
    const int* faces_end(std::size_t node) const { return faces_.data() + first_face_[node + 1]; }
    bool at_nodes() const { return nodes_; }
    const PreparedMesh& prepared() const { return prepared_; }

  private:
    void get_cell(std::size_t cell, Target& target) const;
    bool lone_sheet(std::size_t triangle) const;

    const PreparedMesh& prepared_;
    const ProjectionOptions& options_;
    bool nodes_;
    std::size_t count_;
    std::vector<std::size_t> first_face_;  ///< by node, or by cell
    std::vector<int> faces_;
};

}  // namespace vyn
