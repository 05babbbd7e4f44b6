#pragma once

#include <memory>

#include "mesh/normals.h"
#include "mesh/rays.h"
#include "mesh/surface.h"

namespace vyn {

/// A mesh with all that projecting on it needs; made once and used for many pictures. The mesh must
/// outlive it.
struct PreparedMesh {
    PreparedMesh(const field_data<double>& model, Progress& progress)
        : mesh(model),
          surface(prepare_surface(model, progress)),
          normals(vertex_normals(model, surface)),
          rays(model, surface) {}

    const field_data<double>& mesh;
    Surface surface;
    VertexNormals normals;
    RayScene rays;
};

}  // namespace vyn
