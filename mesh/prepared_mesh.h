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
          surface(surface_of(mesh, SubProgress(progress, 0, 0.5))),
          normals(vertex_normals(mesh, surface)),
          rays(rays_of(mesh, surface, SubProgress(progress, 0.7, 1))) {}
    PreparedMesh(const PreparedMesh&) = delete;
    PreparedMesh& operator=(const PreparedMesh&) = delete;

    field_data<double> mesh;
    Surface surface;
    VertexNormals normals;
    RayScene rays;

  private:
    static Surface surface_of(const field_data<double>& mesh, SubProgress progress) {
        return prepare_surface(mesh, progress);
    }
    static RayScene rays_of(const field_data<double>& mesh, const Surface& surface,
                            SubProgress progress) {
        progress.fraction(0);
        throw_if_aborted(progress);
        return RayScene(mesh, surface, progress);
    }
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
