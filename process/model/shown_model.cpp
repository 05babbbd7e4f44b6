#include "process/model/shown_model.h"

#include <utility>

#include "calib/flow.h"
#include "calib/units.h"
#include "core/errors.h"
#include "core/keys.h"
#include "process/model/mesh_cache.h"
#include "process/model/model_inputs.h"

namespace vyn {

/// The reference of loads.
void ShowModelTask::take_flow() {
    model_->reference = read_loads_reference(session_.data);
    const auto* pressure = model_->mesh.find("P");
    flowFeatures flow;
    read(std::as_const(session_.data), std::string(keys::flow), flow);
    model_->reference.alpha = flow.alpha;
    model_->reference.beta = flow.beta;
    if (!pressure || pressure->unit.empty() || !(flow.dynamic_p > 0)) return;
    const UnitMessagesOnce once;
    const auto converted = [&](double value) {
        return flow.p_unit == pressure->unit ? value
                                             : convert_pressure(value, flow.p_unit, pressure->unit);
    };
    model_->static_pressure = converted(flow.static_p);
    model_->dynamic_pressure = converted(flow.dynamic_p);
}

void ShowModelTask::take_patches() {
    const std::string text = read(std::as_const(session_.data), keys::loads_patches);
    if (text.empty()) return;
    try {
        model_->patches = parse_patches(text, model_->mesh.triangles.size(), "project");
    } catch (const FileError& error) {  // the window tells it beside the patches
        model_->patches_problem = error.detail;
    }
}

TaskOutcome ShowModelTask::run(TaskContext& context) {
    context.status("Preparing the model");
    field_data<double> mesh = file_.empty() ? session_.field : read_mesh_once(file_, context);
    if (!mesh.has_data()) throw AlgoError("Field3D:3d field is absent");
    model_->prepared = prepare_once(mesh, context);
    model_->mm_per_unit = mm_per(mesh_unit_of(mesh, session_.data));
    model_->mesh = std::move(mesh);
    take_flow();
    take_patches();
    if (file_.empty())
        model_->ports =
            ports_on_model(session_, model_->mesh, model_->surface(), model_->mm_per_unit, context);
    return TaskOutcome::done;
}

}  // namespace vyn
