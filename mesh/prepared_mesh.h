#pragma once

#include "mesh/normals.h"
#include "mesh/rays.h"
#include "mesh/surface.h"

namespace vyn {

/// A mesh with all that projecting on it needs; made once and used for many pictures.
struct PreparedMesh {
    /// Of the mesh's geometry; its values are left out.
    PreparedMesh(const field_data<double>& model, Progress& progress)
        : mesh(geometry_of(model)),
          surface(prepare_surface(mesh, progress)),
          normals(vertex_normals(mesh, surface)),
          rays(mesh, surface) {}
    PreparedMesh(const PreparedMesh&) = delete;
    PreparedMesh& operator=(const PreparedMesh&) = delete;

    field_data<double> mesh;
    Surface surface;
    VertexNormals normals;
    RayScene rays;

  private:
    static field_data<double> geometry_of(const field_data<double>& model) {
        field_data<double> mesh;
        mesh.vertices = model.vertices;
        mesh.triangles = model.triangles;
        mesh.cells = model.cells;
        mesh.blanked = model.blanked;
        mesh.zones = model.zones;
        return mesh;
    }
};

}  // namespace vyn
