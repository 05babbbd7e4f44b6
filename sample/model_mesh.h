#pragma once

#include "api/field_data.h"
#include "core/progress.h"
#include "sample/model_camera.h"

namespace vyn {

/// The synthetic model's mesh with what is known of each node.
struct ModelMesh {
    /// Structured zones, mm: body, and upper and lower side of the wing on starboard and port; the
    /// wing begins where it comes out of the body.
    field_data<double> mesh;
    std::vector<SurfacePlace> places;  ///< by node
};

/// With about so many nodes, evenly spread over the surface.
ModelMesh model_mesh(int nodes);

/// What a camera sees of the nodes.
struct NodeView {
    std::vector<double> seen;   ///< 1, 0, or 0.5 where a pixel more or less decides
    std::vector<double> angle;  ///< between normal and line of sight, degrees
};

/// By lines of sight to the nodes and to the eight pixels around each.
NodeView view_nodes(const ModelMesh& mesh, const ModelCamera& camera, Progress& progress);

}  // namespace vyn
