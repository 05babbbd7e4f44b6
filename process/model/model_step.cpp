#include "process/model/model_step.h"

#include <nlohmann/json.hpp>

#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/version.h"
#include "process/model/field_on_mesh.h"
#include "process/model/model_checks.h"
#include "process/model/model_views.h"
#include "process/model/ratio_on_mesh.h"
#include "process/model/resect_json.h"
#include "process/point/project_paths.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"
#include "process/steps/image_origin.h"
#include "process/steps/step_settings.h"
#include "process/steps/step_table.h"

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

void log_lines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        get_log().write(LogLevel::progress, line);
}

/// Settings of the resection that decide on the values; the pose is their result.
void add_resection_settings(std::vector<std::string>& paths) {
    const std::string pose = std::string(keys::resection) + "pose_";
    for (const KeyInfo& key : key_table())
        if (key.path.starts_with(keys::resection) &&
            (!key.path.starts_with(pose) || key.path == keys::resect_pose_choice.path))
            paths.push_back(key.path);
}

void add_camera(std::string_view camera, StepFacts& facts) {
    SettingPaths paths;
    paths.add(camera, {"default_length_unit", "focus", "dx", "dy", "ncx", "ncy", "nfx", "nfy", "cx",
                       "cy", "a2", "a4"});
    for (std::string& path : paths.take())
        facts.settings.push_back(std::move(path));
    facts.told.emplace_back(camera);
}

}  // namespace

StepFacts model_facts(const StepView& view) {
    const bool on_mesh = read(view.data, keys::resect_ratio_on_mesh) != 0;
    StepFacts facts;
    if (on_mesh) {
        facts = ratio_on_mesh_facts(view);
    } else {
        facts.takes = {{.name = image_names::field},
                       {.name = image_names::sigma_common, .need = StepImage::Need::if_there},
                       {.name = image_names::sigma_area, .need = StepImage::Need::if_there},
                       {.name = read(view.data, keys::resect_markers_view), .markers = true}};
        add_camera(keys::sens_camera, facts);
    }
    add_resection_settings(facts.settings);
    SettingPaths files;
    files.add(keys::mesh_file, keys::mesh_mark_file);
    for (std::string& path : files.take())
        facts.settings.push_back(std::move(path));
    facts.told.emplace_back(keys::resection);
    facts.gives.clear();
    return facts;
}

TaskOutcome put_on_model(const StepRun& run) {
    const Session& session = run.session;
    dataSetInterface& data = session.data;
    run.context.status("Resecting Image");
    if (!session.field.has_data()) throw AlgoError("Field3D:3d field is absent");
    const std::string unit = mesh_unit_of(session.field, data);
    const auto markers = read_model_markers(
        find_input(data, read(data, keys::mesh_mark_file), keys::mesh_mark_file.path), data, unit);
    check_markers_on_mesh(markers, session.field, mm_per(unit));
    const bool on_mesh = read(data, keys::resect_ratio_on_mesh) != 0;
    std::vector<PointView> views;
    if (on_mesh) {
        views = views_of_ratio(run);
    } else {
        const auto field = session.images.find(image_names::field);
        if (!field) throw AlgoError("Field3D:2d field is absent");
        views.push_back(own_view(session));
        views.back().field = field;
        views.back().sigmas = {session.images.find(image_names::sigma_common),
                               session.images.find(image_names::sigma_area)};
        for (const auto& project : further_projects(data))
            views.push_back(read_further_view(project, run.context));
    }
    const ResectReport found =
        resect(markers, resect_views(views), resect_options(data, mm_per(unit)), run.context);
    log_lines(resection_lines(found));

    std::vector<ProjectedView> pictures;
    for (std::size_t v = 0; v < views.size(); ++v)
        pictures.push_back(projected(views[v], found.views[v]));
    field_data<double> mesh = session.field;
    const ProjectionOptions options = projection_options(data);
    const ProjectionResult result =
        on_mesh ? put_ratio_on_mesh(run, mesh, unit, pictures, options)
                : put_fields_on_mesh(mesh, unit, pictures, options, run.context);
    if (!on_mesh) {
        std::vector<FieldSigmas> sigmas;
        for (const PointView& view : views)
            sigmas.push_back(view.sigmas);
        put_sigmas_on_mesh(sigmas, mesh, unit, pictures, options, run.context);
    }
    log_lines(projection_lines(result, pictures));
    const auto mesh_file = find_input(data, read(data, keys::mesh_file), keys::mesh_file.path);
    mesh.history = history_of(data, mesh_file);
    mesh.origin =
        result_origin(data, session.images, whole_facts(run.step, run.view()),
                      [&](const std::string& name) { return session.images.find(name)->origin; });
    throw_if_aborted(run.context);
    const nlohmann::json text = {{"resection", resection_json(found)},
                                 {"projection", projection_json(result, pictures, mesh)}};
    run.report.model = json_text(text);
    session.field = std::move(mesh);
    store_pose(data, found.views.front().pose, views.front().record.default_length_unit);
    run.context.status("Resection Done!");
    return TaskOutcome::done;
}

}  // namespace vyn
