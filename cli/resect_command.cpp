#include <memory>
#include <utility>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "core/keys.h"
#include "process/model/model_inputs.h"
#include "process/model/resect_json.h"
#include "process/point/marker_io.h"
#include "process/report/json_text.h"

namespace vyn::cli {

namespace {

struct ResectArguments {
    std::string markers3d;
    std::vector<std::pair<std::string, std::string>> views;  ///< camera file, marker file
    std::string mesh;
    std::vector<std::string> settings;
    std::string report;
    std::string accept;
    bool force = false;
};

cameraFeatures camera_from(const std::string& file) {
    cameraFeatures record;
    read_camera(file, record);
    return record;
}

ExitStatus work(const ResectArguments& arguments) {
    const auto overwriting = arguments.force ? Overwriting::allowed : Overwriting::refused;
    check_output(arguments.report, overwriting);
    check_output(arguments.accept, overwriting);
    if (!arguments.accept.empty() && arguments.views.size() != 1)
        throw UsageError("--accept writes one camera: give one --view with it");
    simpleNamedDataSet data;
    apply_settings(data, arguments.settings);
    InterruptProgress progress;
    std::string unit = read(data, keys::resect_mesh_unit);
    if (!arguments.mesh.empty()) unit = mesh_unit_of(read_field(arguments.mesh, progress), data);
    const std::vector<Marker> markers = read_model_markers(arguments.markers3d, data, unit);

    std::vector<ResectView> views;
    for (const auto& [camera, dots] : arguments.views) {
        const cameraFeatures record = camera_from(camera);
        views.push_back({dots, pinhole_of(record), read_marker_file(dots, record.nfy).markers,
                         stored_pose(data, record.default_length_unit)});
    }
    const ResectReport report =
        resect(markers, views, resect_options(data, mm_per(unit)), progress);
    for (const std::string& line : resection_lines(report))
        console().line(line);
    const nlohmann::json text = {{"resection", resection_json(report)}};
    if (arguments.report.empty())
        print(json_text(text, 2) + "\n");
    else
        write_file(arguments.report, json_text(text, 2) + "\n");
    if (!arguments.accept.empty())
        write_camera(arguments.accept,
                     with_intrinsics(camera_from(arguments.views[0].first),
                                     report.views[0].camera_before, report.views[0].camera));
    return ExitStatus::done;
}

}  // namespace

Work prepare_resect(CLI::App& app, const GlobalOptions&) {
    const auto arguments = std::make_shared<ResectArguments>();
    app.add_option("--markers3d", arguments->markers3d, "markers on the model: mrk or apm")
        ->required();
    app.add_option("--view", arguments->views,
                   "CAMERA MARKERS: a camera file, and the dots of a picture of it in raw pixels; "
                   "several views are found together")
        ->required();
    app.add_option("--mesh", arguments->mesh, "the model's mesh, for its length unit");
    app.add_option("--set", arguments->settings,
                   "KEY=VALUE: a setting below roject/processing/resection/")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--report", arguments->report,
                   "write the poses and residuals (JSON); by default they are printed");
    app.add_option("--accept", arguments->accept,
                   "write the camera file with the intrinsics that were freed");
    app.add_flag("--force", arguments->force, "replace existing files");
    return [arguments] { return work(*arguments); };
}

}  // namespace vyn::cli
