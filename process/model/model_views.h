#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/task.h"
#include "process/model/model_inputs.h"
#include "process/point/session.h"

namespace vyn {

/// A camera picture that goes onto the mesh: the values in pixels without lens distortion, the dots
/// in raw ones.
struct PointView {
    std::string name;
    std::shared_ptr<const image> field;
    cameraFeatures record;
    std::vector<Marker> dots;
    std::optional<Pose> stored;

    Distortion lens() const { return {record.cx, record.cy, record.a2, record.a4}; }
};

/// The saved field of another project with its camera and markers, as "views" names it. Raises
/// FileError naming the project and what it lacks.
PointView read_further_view(const std::filesystem::path& project, TaskContext& context);

/// The files that "views" names.
std::vector<std::filesystem::path> further_projects(const dataSetInterface& data);

/// For the adjustment of all of them together.
std::vector<ResectView> resect_views(const std::vector<PointView>& views);
/// A picture with the pose that the adjustment found for its camera.
ProjectedView projected(const PointView& view, const ViewResult& found);

}  // namespace vyn
