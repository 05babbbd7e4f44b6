#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/task.h"
#include "process/model/model_inputs.h"
#include "process/point/session.h"
#include "process/project/ims.h"

namespace vyn {

/// Standard deviations beside a field: the same over an area, and of pixels for themselves.
struct FieldSigmas {
    std::shared_ptr<const image> common;
    std::shared_ptr<const image> area;

    bool known() const { return common && area; }
};

/// A camera picture that goes onto the mesh: the values in pixels without lens distortion, the dots
/// in raw ones.
struct PointView {
    std::string name;
    std::shared_ptr<const image> field;
    cameraFeatures record;
    std::vector<Marker> dots = {};
    std::optional<Pose> stored = std::nullopt;
    FieldSigmas sigmas = {};

    Distortion lens() const { return lens_of(record); }
};

/// Camera and dots of the picture whose markers tell the session's pose, named like the picture;
/// without a field. Raises AlgoError when the picture is not there.
PointView own_view(const Session& session);

/// Settings of another project and, where it is a container, its images.
struct FurtherProject {
    std::filesystem::path file;
    simpleNamedDataSet data;
    ImsData container;

    /// Of the container; null without.
    std::shared_ptr<const image> find(const std::string& name) const;
};
/// Raises FileError.
void open_further_project(const std::filesystem::path& file, FurtherProject& project,
                          TaskContext& context);
/// Its camera and dots, named like the project; without a field. Raises FileError naming the
/// project and what it lacks.
PointView view_of_project(const FurtherProject& project);

/// The saved field of another project with its camera and markers, as "views" names it. Raises
/// FileError naming the project and what it lacks.
PointView read_further_view(const std::filesystem::path& project, TaskContext& context);

/// The names of "views", without the blanks around them, and the files that they name.
std::vector<std::string> view_names(const dataSetInterface& data);
std::vector<std::filesystem::path> further_projects(const dataSetInterface& data);

/// For the adjustment of all of them together. Raises AlgoError "Resection Failed!" for a camera
/// that cannot be used or is one of other pictures.
std::vector<ResectView> resect_views(const std::vector<PointView>& views);
/// A picture with the pose that the adjustment found for its camera.
ProjectedView projected(const PointView& view, const ViewResult& found);

}  // namespace vyn
