#include "process/model/shown_model.h"

#include "core/errors.h"
#include "process/model/mesh_cache.h"
#include "process/model/model_inputs.h"

namespace vyn {

TaskOutcome ShowModelTask::run(TaskContext& context) {
    context.status("Preparing the model");
    field_data<double> mesh = file_.empty() ? session_.field : read_mesh_once(file_, context);
    if (!mesh.has_data()) throw AlgoError("Field3D:3d field is absent");
    model_->prepared = prepare_once(mesh, context);
    model_->mm_per_unit = mm_per(mesh_unit_of(mesh, session_.data));
    model_->mesh = std::move(mesh);
    return TaskOutcome::done;
}

}  // namespace vyn
