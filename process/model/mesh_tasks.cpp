#include "process/model/mesh_tasks.h"

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "process/model/mesh_cache.h"
#include "process/model/model_inputs.h"
#include "process/point/project_paths.h"

namespace vyn {

TaskOutcome OpenMeshTask::run(TaskContext& context) {
    context.status("Reading geometry");
    dataSetInterface& data = session_.data;
    if (name_.empty()) {
        session_.field = {};
        write(data, keys::mesh_file, name_);
        return TaskOutcome::done;
    }
    field_data<double> mesh = with_wanted_mirror(
        read_mesh_once(find_input(data, name_, keys::mesh_file.path), context), data);
    if (mesh.triangles.empty())
        throw FileError("Can't open file for reading!", name_ + ": the mesh has no faces");
    throw_if_aborted(context);
    session_.field = std::move(mesh);
    write(data, keys::mesh_file, name_);
    return TaskOutcome::done;
}

TaskOutcome OpenModelMarkersTask::run(TaskContext& context) {
    context.status("Reading geometry");
    dataSetInterface& data = session_.data;
    if (name_.empty()) {
        write(data, keys::mesh_mark_file, name_);
        return TaskOutcome::done;
    }
    const auto markers = read_model_markers(find_input(data, name_, keys::mesh_mark_file.path),
                                            data, mesh_unit_of(session_.field, data));
    if (markers.empty())
        throw FileError("Can't open file for reading!", name_ + ": there are no markers in it");
    write(data, keys::mesh_mark_file, name_);
    return TaskOutcome::done;
}

TaskOutcome SaveMeshTask::run(TaskContext& context) {
    context.status("Saving 3-D field:" + file_.string());
    write_field(session_.field, file_, context);
    return TaskOutcome::done;
}

}  // namespace vyn
