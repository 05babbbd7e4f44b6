#include <filesystem>
#include <memory>

#include "calib/camera.h"
#include "calib/paint.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/settings.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "process/point/project_lock.h"
#include "process/project/new_project.h"

namespace vyn::cli {

namespace fs = std::filesystem;

namespace {

struct NewOptions {
    std::string project;
    std::vector<std::string> settings;
    std::string paint;
    std::string camera;
    bool force = false;
};

void take_over_paint(dataSetInterface& data, const std::string& file) {
    const paintFeatures paint = load_paint_calibration(file);
    write(data, std::string(keys::sens_paint), paint);
    take_units_of_paint(data, paint);
}

void take_over_camera(dataSetInterface& data, const std::string& file, const fs::path& folder) {
    cameraFeatures camera;
    // A record that could not be read must not become a record of zeros.
    const RecordOutcome outcome = read_camera(file, camera);
    if (outcome == RecordOutcome::unknown_version) throw FileError("Unknown file version", file);
    if (outcome == RecordOutcome::no_record)
        throw FileError("File error!", file + ": not a camera file, it has no section of one");
    camera.camera = fs::absolute(file).string();
    if (!camera.flat_file.empty()) {
        const fs::path flat = find_flat_file(camera, folder);
        if (flat.empty())
            console().line("warning: the flat field " + camera.flat_file + " named by " + file +
                           " was not found");
        else
            camera.flat_file = fs::absolute(flat).string();
    }
    write(data, std::string(keys::sens_camera), camera);
}

ExitStatus make_project(const NewOptions& options) {
    const fs::path file = fs::weakly_canonical(fs::absolute(options.project));
    simpleNamedDataSet data;
    write(data, keys::test_single, 1);
    start_project(data);
    if (!options.paint.empty()) take_over_paint(data, options.paint);
    if (!options.camera.empty()) take_over_camera(data, options.camera, file.parent_path());
    apply_settings(data, options.settings);
    write(data, keys::head_file, file.string());
    check_target(file, options.force ? Overwriting::allowed : Overwriting::refused);
    const auto lock = lock_project(file);
    save_xml(data, file.c_str());
    return ExitStatus::done;
}

}  // namespace

Work prepare_new(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<NewOptions>();
    app.add_option("PROJECT", options->project, "project file to write")->required();
    app.add_option("--set", options->settings, "KEY=VALUE: a setting (see get --table)")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--paint", options->paint, "paint calibration (.clb) to take over");
    app.add_option("--camera", options->camera, "camera file (.ini) to take over");
    app.add_flag("--force", options->force, "replace an existing project file");
    return [options] { return make_project(*options); };
}

}  // namespace vyn::cli
