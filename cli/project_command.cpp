#include <array>
#include <memory>
#include <tuple>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "core/version.h"
#include "process/model/field_on_mesh.h"
#include "process/model/model_inputs.h"
#include "process/model/resect_json.h"
#include "process/point/marker_io.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"

namespace vyn::cli {

namespace {

struct ProjectArguments {
    std::string mesh;
    std::string markers3d;
    std::vector<std::tuple<std::string, std::string, std::string>> views;
    std::string poses;
    std::vector<std::string> settings;
    std::vector<std::string> saves;
    std::string report;
    bool force = false;
};

/// The poses of a report, in the order of its views.
std::vector<ReportedPose> read_poses(const std::string& file) {
    constexpr std::size_t largest_report = std::size_t{256} << 20;
    const auto text = nlohmann::json::parse(read_file(file, largest_report), nullptr, false);
    std::vector<ReportedPose> poses;
    if (text.is_object() && text.contains("resection") && text["resection"].contains("views"))
        for (const auto& view : text["resection"]["views"])
            poses.push_back(reported_pose(view));
    if (poses.empty())
        throw FileError("Can't open file for reading!", file + ": no report of a resection");
    return poses;
}

struct Inputs {
    std::vector<image> fields;
    std::vector<cameraFeatures> cameras;
    std::vector<std::string> names;
};

Inputs read_inputs(const ProjectArguments& arguments, Progress& progress) {
    Inputs inputs;
    for (const auto& [field, camera, markers] : arguments.views) {
        inputs.fields.push_back(read_image(field, progress));
        read_camera(camera, inputs.cameras.emplace_back());
        inputs.names.push_back(field);
    }
    return inputs;
}

std::vector<ReportedPose> find_poses(const ProjectArguments& arguments, const Inputs& inputs,
                                     const dataSetInterface& data, const std::string& unit,
                                     nlohmann::json& report, Progress& progress) {
    if (!arguments.poses.empty()) {
        auto poses = read_poses(arguments.poses);
        if (poses.size() != inputs.fields.size())
            throw UsageError(arguments.poses + " has " + std::to_string(poses.size()) +
                             " poses for " + std::to_string(inputs.fields.size()) + " views");
        return poses;
    }
    if (arguments.markers3d.empty()) throw UsageError("--markers3d or --poses is required");
    const auto markers = read_model_markers(arguments.markers3d, data, unit);
    std::vector<ResectView> views;
    for (std::size_t v = 0; v < inputs.cameras.size(); ++v) {
        const cameraFeatures& camera = inputs.cameras[v];
        views.push_back({inputs.names[v], pinhole_of(camera),
                         read_marker_file(std::get<2>(arguments.views[v]), camera.nfy).markers,
                         stored_pose(data, camera.default_length_unit)});
    }
    const ResectReport found = resect(markers, views, resect_options(data, mm_per(unit)), progress);
    for (const std::string& line : resection_lines(found))
        console().line(line);
    report["resection"] = resection_json(found);
    std::vector<ReportedPose> poses;
    for (const auto& view : report["resection"]["views"])
        poses.push_back(reported_pose(view));
    return poses;
}

ExitStatus work(const ProjectArguments& arguments) {
    const auto overwriting = arguments.force ? Overwriting::allowed : Overwriting::refused;
    for (const std::string& file : arguments.saves)
        check_output(file, overwriting);
    check_output(arguments.report, overwriting);
    simpleNamedDataSet data;
    apply_settings(data, arguments.settings);
    InterruptProgress progress;
    field_data<double> mesh = with_wanted_mirror(read_field(arguments.mesh, progress), data);
    const std::string unit = mesh_unit_of(mesh, data);
    const Inputs inputs = read_inputs(arguments, progress);
    nlohmann::json report = {{"program", std::string("VynLite ") + program_version},
                             {"mesh", source_file(arguments.mesh)}};
    const auto poses = find_poses(arguments, inputs, data, unit, report, progress);

    std::vector<ProjectedView> views;
    for (std::size_t v = 0; v < poses.size(); ++v) {
        const cameraFeatures& record = inputs.cameras[v];
        views.push_back({inputs.names[v], &inputs.fields[v], poses[v].camera, lens_of(record),
                         poses[v].pose, poses[v].covariance, poses[v].freed, poses[v].rms});
    }
    const ProjectionResult result =
        put_fields_on_mesh(mesh, unit, views, projection_options(data), progress);
    for (const std::string& line : projection_lines(result, views))
        console().line(line);
    report["projection"] = projection_json(result, views, mesh);
    report["settings"] = arguments.settings;
    mesh.history = json_text(report["mesh"]);
    for (const std::string& file : arguments.saves)
        write_field(mesh, file, progress);
    if (!arguments.report.empty()) write_file(arguments.report, json_text(report, 2) + "\n");
    return ExitStatus::done;
}

}  // namespace

Work prepare_project(CLI::App& app, const GlobalOptions&) {
    const auto arguments = std::make_shared<ProjectArguments>();
    app.add_option("--mesh", arguments->mesh, "the model's mesh, in any readable format")
        ->required();
    app.add_option("--markers3d", arguments->markers3d, "markers on the model: mrk or apm");
    app.add_option("--view", arguments->views,
                   "FIELD CAMERA MARKERS: a field without lens distortion, its camera file, the "
                   "dots of its picture in raw pixels; several views are blended")
        ->required();
    app.add_option("--poses", arguments->poses,
                   "report of resect with the poses, in the order of the views; instead of finding "
                   "them");
    app.add_option("--set", arguments->settings,
                   "KEY=VALUE: a setting below roject/processing/resection/")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--save", arguments->saves,
                   "write the mesh with its values; the extension picks the format: vtp, vtk, csv, "
                   "dat, xyz, f, ply")
        ->required()
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--report", arguments->report, "write poses, counts and shares (JSON)");
    app.add_flag("--force", arguments->force, "replace existing files");
    return [arguments] { return work(*arguments); };
}

}  // namespace vyn::cli
