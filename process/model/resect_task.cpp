#include "process/model/resect_task.h"

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/version.h"
#include "process/model/field_on_mesh.h"
#include "process/model/model_inputs.h"
#include "process/model/resect_json.h"
#include "process/point/project_paths.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"

namespace vyn {

namespace {

/// What the values on a mesh came from: the mesh file, the program, the settings that are not at
/// their defaults.
std::string history_of(const dataSetInterface& data, const std::filesystem::path& mesh) {
    nlohmann::json settings = nlohmann::json::object();
    for (const KeyInfo& key : key_table()) {
        if (!key.path.starts_with(keys::resection)) continue;
        const any value = data.value(key.path);
        if (!value.empty() && format_setting(value) != format_setting(key.fallback))
            settings[key.path] = format_setting(value);
    }
    return json_text({{"program", std::string("VynLite ") + program_version},
                      {"mesh", source_file(mesh)},
                      {"settings", told_settings(std::move(settings))}});
}

}  // namespace

TaskOutcome ResectTask::run(TaskContext& context) {
    dataSetInterface& data = session_.data;
    context.status("Resecting Image");
    const auto field = session_.images.find(image_names::field);
    if (!field) throw AlgoError("Field3D:2d field is absent");
    if (!session_.field.has_data()) throw AlgoError("Field3D:3d field is absent");

    cameraFeatures record;
    read(data, std::string(keys::sens_camera), record);
    const std::string picture_name = read(data, keys::resect_markers_view);
    const auto picture = session_.images.find(picture_name);
    if (!picture)
        throw AlgoError("Resection Failed!", "there is no picture '" + picture_name + "'");
    const std::string unit = mesh_unit_of(session_.field, data);
    const auto markers = read_model_markers(
        find_input(data, read(data, keys::mesh_mark_file), keys::mesh_mark_file.path), data, unit);
    const std::string camera_unit = record.default_length_unit;
    const std::vector<ResectView> views{{picture_name, pinhole_of(record), picture->markers.markers,
                                         stored_pose(data, camera_unit)}};
    const ResectReport found = resect(markers, views, resect_options(data, mm_per(unit)), context);
    for (const std::string& line : resection_lines(found))
        get_log().write(LogLevel::progress, line);

    const ViewResult& view = found.views.front();
    std::vector<Intrinsic> freed;
    for (const FreedIntrinsic& intrinsic : view.freed)
        freed.push_back(intrinsic.which);
    const std::vector<ProjectedView> projected{{picture_name, field.get(), view.camera,
                                                views.front().camera.lens, view.pose,
                                                view.covariance, freed, view.rms}};
    field_data<double> mesh = session_.field;
    const ProjectionResult result =
        put_fields_on_mesh(mesh, unit, projected, projection_options(data), context);
    for (const std::string& line : projection_lines(result, projected))
        get_log().write(LogLevel::progress, line);
    mesh.history =
        history_of(data, find_input(data, read(data, keys::mesh_file), keys::mesh_file.path));
    throw_if_aborted(context);
    const nlohmann::json text = {{"resection", resection_json(found)},
                                 {"projection", projection_json(result, projected, mesh)}};
    report_->model = json_text(text);
    session_.field = std::move(mesh);
    store_pose(data, view.pose, camera_unit);
    context.status("Resection Done!");
    return TaskOutcome::done;
}

TaskOutcome SaveMeshTask::run(TaskContext& context) {
    context.status("Saving 3-D field:" + file_.string());
    write_field(session_.field, file_, context);
    return TaskOutcome::done;
}

}  // namespace vyn
