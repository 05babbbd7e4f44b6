#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "mesh/prepared_mesh.h"
#include "projection/projection.h"
#include "resect/dot_pair.h"

namespace vyn::bench {

/// A wing-body of half a million nodes before a camera of 2048 x 2048 pixels, a field with dots cut
/// out, and markers with their dots.
struct ModelInputs {
    ModelInputs();
    ~ModelInputs();
    ModelInputs(const ModelInputs&) = delete;
    ModelInputs& operator=(const ModelInputs&) = delete;

    field_data<double> mesh;
    PreparedMesh prepared;
    image field;
    ProjectedView view;
    std::vector<SightLine> lines;  ///< of the nodes that face the camera
    std::vector<Vec3> faced;       ///< those nodes
    PinholeCamera marker_camera;   ///< without distortion
    Pose marker_pose;
    std::vector<DotPair> pairs;   ///< 30
    std::vector<Marker> markers;  ///< 60
    std::vector<Marker> dots;     ///< of 48 of them, and 12 false ones, unnumbered
    std::filesystem::path stl;    ///< the mesh in a file
};

struct ModelStage {
    std::string name;
    double units = 1;  ///< that the time is told by
    const char* unit = "";
    std::function<void()> run;
};

/// On these inputs, which must outlive them:
/// pose           a start and its adjustment from 30 pairs
/// pairing        60 markers with 60 dots without numbers, a fifth of them false
/// drag           a ring over a dot: a fit of 60 markers, the rest paired, what is hidden
/// visibility     a line of sight each, on the calling thread
/// node_sample    node to pixel to value of the masked field, on the calling thread
/// project_known  the whole projection, mesh and rays being there
/// project_first  with normals, orientation and rays
/// frame          a picture of the model, 1000 x 800, view and all; frame_large 1600 x 1000
/// stl_read       the mesh from a binary STL file
std::vector<ModelStage> model_stages(const ModelInputs& inputs);

double time_once(const ModelStage& stage);

}  // namespace vyn::bench
