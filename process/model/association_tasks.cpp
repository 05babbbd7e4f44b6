#include "process/model/association_tasks.h"

#include "core/errors.h"
#include "core/keys.h"
#include "process/model/mesh_cache.h"
#include "process/model/model_checks.h"
#include "process/model/model_inputs.h"
#include "process/point/project_paths.h"

namespace vyn {

namespace {

cameraFeatures camera_record(const dataSetInterface& data) {
    cameraFeatures record;
    read(data, std::string(keys::sens_camera), record);
    return record;
}

}  // namespace

void take_settings(AssociationScene& scene, const dataSetInterface& data, const image& picture) {
    scene.camera = pinhole_of(camera_record(data));
    check_size(picture, scene.camera, picture.name);
    scene.options = resect_options(data, scene.mm_per_unit);
}

TaskOutcome AssociationSceneTask::run(TaskContext& context) {
    context.status("Reading geometry");
    const dataSetInterface& data = session_.data;
    const std::string file = read(data, keys::mesh_mark_file);
    if (file.empty()) throw AlgoError("Mesh markers are not defined!");
    const std::string unit = mesh_unit_of(session_.field, data);
    scene_->mm_per_unit = mm_per(unit);
    take_settings(*scene_, data, *picture_);
    scene_->markers =
        read_model_markers(find_input(data, file, keys::mesh_mark_file.path), data, unit);
    if (scene_->markers.empty()) throw AlgoError("Mesh markers are not defined!", file);
    if (session_.field.has_data()) {
        check_markers_on_mesh(scene_->markers, session_.field, scene_->mm_per_unit);
        scene_->mesh = prepare_once(session_.field, context);
    }
    return TaskOutcome::done;
}

TaskOutcome FindAssociationTask::run(TaskContext& context) {
    context.status("Resecting Image");
    *found_ = find_association(*scene_, dots_, context);
    return TaskOutcome::done;
}

void store_association(dataSetInterface& data, const Association& association) {
    if (!association.pose) return;
    store_pose(data, *association.pose, camera_record(data).default_length_unit);
    if (read(data, keys::resect_pairing) == "geometry")
        write(data, keys::resect_pairing, std::string("number"));
}

}  // namespace vyn
