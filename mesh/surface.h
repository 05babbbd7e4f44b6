#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/field_data.h"
#include "core/progress.h"
#include "mesh/vec3.h"

namespace vyn {

/// Triangles that hang together across edges of two triangles.
struct SurfacePiece {
    std::size_t triangles = 0;
    double area = 0;
    double volume = 0;  ///< enclosed, about the piece's middle; of holes the flat lid is missing
    std::size_t open_edges = 0;
    /// Closed but for holes, such as a wing without its root: outside and inside differ.
    bool has_inside = false;
};

/// What algorithms need to know of a mesh beside its data: which vertices are at one place, which
/// triangles count, which way is out.
struct Surface {
    double diagonal = 0;     ///< of the box around the mesh
    Vec3 middle{};           ///< of that box
    std::vector<int> place;  ///< by vertex: the first vertex at its place
    /// The triangles with their corners in the order that makes their normals point outward.
    std::vector<std::array<int, 3>> triangles;
    std::vector<std::uint8_t> counts;  ///< by triangle: 0 = degenerate, or of a blanked vertex
    std::vector<int> neighbour;        ///< 3 by triangle, across the edge after each corner; or -1
    std::vector<int> piece;            ///< by triangle; -1 for those that do not count
    std::vector<SurfacePiece> pieces;
    std::vector<std::uint8_t> zone_turned;  ///< by zone: 1 = most of its triangles were turned
    std::size_t turned = 0;                 ///< triangles whose order differs from the data's
    std::size_t degenerate = 0;
    std::size_t open_edges = 0;       ///< of one triangle
    std::size_t crowded_edges = 0;    ///< of more than two triangles
    std::size_t one_sided_edges = 0;  ///< where the order cannot be made to agree

    /// Twice the area times the outward normal of a triangle.
    Vec3 area_vector(const field_data<double>& mesh, std::size_t triangle) const {
        const auto& t = triangles[triangle];
        const Vec3& a = mesh.vertices[static_cast<std::size_t>(t[0])];
        return cross(mesh.vertices[static_cast<std::size_t>(t[1])] - a,
                     mesh.vertices[static_cast<std::size_t>(t[2])] - a);
    }
};

/// Vertices within 1e-9 of the mesh's diagonal are at one place. Within a piece the triangles are
/// made to agree by walking across edges; a piece with an inside is turned outward by the sign of
/// its volume, any other keeps the order of most of its area. Linear but for a sort of the edges.
/// Raises AlgoError for a mesh without triangles, Aborted when told to stop.
Surface prepare_surface(const field_data<double>& mesh, Progress& progress);

/// Lines for the log and for users: pieces, holes, degenerate and turned triangles.
std::vector<std::string> describe(const field_data<double>& mesh, const Surface& surface);

/// The mesh and its mirror image about axis = 0 (0 = x): new vertices and zones ("... mirrored")
/// follow the old ones; quantities are NaN on the new half.
field_data<double> with_mirror_image(const field_data<double>& mesh, std::size_t axis);

}  // namespace vyn
