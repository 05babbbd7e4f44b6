#pragma once

#include <vector>

#include "mesh/surface.h"

namespace vyn {

/// Outward unit normals at the vertices: the mean of the faces around, weighted by area. Edges
/// between zones and edges where faces meet at more than 45 degrees stay sharp: a vertex there has
/// one normal for each side.
struct VertexNormals {
    std::vector<Vec3> normals;
    /// The normals of vertex v are those from first[v] to first[v + 1].
    std::vector<std::size_t> first;
};

VertexNormals vertex_normals(const field_data<double>& mesh, const Surface& surface);

}  // namespace vyn
