#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "api/field_data.h"
#include "sample/model_camera.h"
#include "sample/synthetic_point.h"

namespace vyn {

struct ModelPointOptions {
    SyntheticOptions point;  ///< a single channel, without `bending`
    int mesh_nodes = 30000;  ///< about so many; 500 to 5 million
    int cameras = 1;         ///< 1 or 2
};

/// What is wrong with the options, for the user; empty when they are sound.
std::string problem_of(const ModelPointOptions& options);

/// A complete test point in space whose right answer is known: a wing on a body with dots of known
/// places, a true pressure everywhere on it, and the pictures of cameras obliquely above. Each
/// pixel is where its line of sight meets the surface's formulas, wind-on those of the moved and
/// bent model; the mesh plays no part in it. Pixels are sampled at their centres.
struct ModelPoint {
    ModelPointOptions options;
    std::vector<ModelCamera> cameras;
    /// By camera. The truths and ports live in the camera's ideal wind-off picture; the model's
    /// motion is not one of pictures, and `wind_on_from_wind_off` stays empty.
    std::vector<SyntheticPoint> views;
    ModelMotion motion;
    MarkerSet markers;  ///< all dots, mm
    /// The true field at all nodes under its name ("P", "Cp", ...), then for each camera what it
    /// sees ("seen": 1, 0, or 0.5 where a pixel decides) and from which angle ("angle", degrees);
    /// those of the second "seen_2", "angle_2".
    field_data<double> mesh;
    std::array<std::vector<Vec3>, 2>
        edges;  ///< the wing's leading and trailing edge, port to starboard
};

/// Raises AlgoError with `problem_of` the options, Aborted when told to stop. The result depends on
/// the options only, not on the number of threads.
ModelPoint make_model_point(const ModelPointOptions& options, Progress& progress);

/// Names of the files that `write_model_point` makes.
std::vector<std::string> model_file_names(const ModelPointOptions& options);

/// Writes a test point for each camera (`write_synthetic_point`; that of the second ends in "_2"),
/// whose projects name mesh and markers, and beside them model.vtp, truth_mesh.vtp, markers3d.mrk,
/// pose.json (as reports hold poses), lines.csv and reference.json. Raises FileError.
void write_model_point(const ModelPoint& point, const std::filesystem::path& folder,
                       Progress& progress);

}  // namespace vyn
