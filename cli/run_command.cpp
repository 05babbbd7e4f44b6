#include <filesystem>
#include <memory>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/detection_options.h"
#include "cli/runner.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/keys.h"
#include "process/model/mesh_tasks.h"
#include "process/point/experiment_type.h"
#include "process/point/find_markers_task.h"
#include "process/point/marker_io.h"
#include "process/point/project_lock.h"
#include "process/point/save_image_task.h"
#include "process/project/project_tasks.h"
#include "process/report/html_document.h"
#include "process/report/json_text.h"
#include "process/report/report_document.h"
#include "process/report/run_report_json.h"
#include "process/steps/chain.h"
#include "process/steps/step_table.h"

namespace vyn::cli {

namespace fs = std::filesystem;

namespace {

struct RunOptions {
    std::string project;
    std::vector<std::string> settings;
    std::vector<std::string> saves;  ///< NAME=FILE
    std::string save_project;
    std::string report;
    std::string html;
    std::string pdf;
    std::string ports;
    std::string mesh;
    std::string markers3d;
    std::string save_mesh;
    DetectionArguments detection;
    bool auto_markers = false;
    bool save_field = false;
    bool allow_unaligned = false;
    bool force = false;
};

struct SaveRequest {
    std::string name;
    fs::path file;
};

/// Splits NAME=FILE and refuses at once what could not be written at the end of a long run.
SaveRequest parse_save(const std::string& text, Overwriting existing) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
        throw UsageError("--save " + text + ": expected NAME=FILE");
    SaveRequest request{text.substr(0, equals), text.substr(equals + 1)};
    const ImageFormat* format = get_2dio().by_extension(request.file);
    if (!format || !format->info().can_write)
        throw UsageError("--save " + text + ": no format writes files with this extension");
    check_output(request.file, existing);
    return request;
}

Overwriting overwriting(const RunOptions& options) {
    return options.force ? Overwriting::allowed : Overwriting::refused;
}

/// How the project is opened; that mesh or its markers are missing is said where they are asked
/// for.
ReadProject project_request(const RunOptions& options, const std::shared_ptr<RunReport>& report) {
    std::vector<std::string> settings = options.settings;
    const auto name = [&](const Key<std::string>& key, const std::string& file) {
        if (file.empty()) return;
        settings.push_back(std::string(key.path) + "=" + fs::absolute(file).string());
    };
    name(keys::mesh_file, options.mesh);
    name(keys::mesh_mark_file, options.markers3d);
    ReadProject request = read_request(options.project, settings, report);
    request.geometry = options.mesh.empty() && options.save_mesh.empty()
                           ? ReadProject::Geometry::if_named
                           : ReadProject::Geometry::read;
    return request;
}

/// Loads the project and runs the chain. The outcome is the worst of both.
TaskOutcome compute(const RunOptions& options, Session session, Runner& runner,
                    const std::shared_ptr<RunReport>& report, std::string& failure) {
    TaskOutcome outcome = runner.run(
        job_of(std::make_unique<ReadProjectTask>(session, project_request(options, report))));
    failure = runner.failure();
    if (outcome != TaskOutcome::done) return outcome;

    failure = missing_input(view_of(session));
    if (!failure.empty()) return TaskOutcome::failed;
    if (options.save_field)
        for (const fs::path& file : named_field_files(session))
            check_output(file, overwriting(options));
    if (options.auto_markers) {
        outcome = runner.run(job_of(std::make_unique<FindMarkersTask>(
            session, detection_options(options.detection), report)));
        failure = runner.failure();
        if (outcome == TaskOutcome::failed && failure.empty())
            failure = report->warnings.back().text;
        if (outcome != TaskOutcome::done) return outcome;
    }
    outcome = runner.run(calculate(Goal::all, session, report));
    failure = runner.failure();
    if (outcome == TaskOutcome::done_with_errors) failure = unaligned_text(*report);
    return outcome;
}

TaskOutcome save_all(const RunOptions& options, Session session,
                     const std::vector<SaveRequest>& saves, Runner& runner) {
    auto job = std::make_shared<Job>();
    for (const SaveRequest& save : saves)
        check_target(save.file, overwriting(options));
    for (const SaveRequest& save : saves)
        job->append(std::make_unique<SaveImageTask>(session, save.name, save.file));
    if (!options.save_mesh.empty()) {
        check_target(options.save_mesh, overwriting(options));
        job->append(std::make_unique<SaveMeshTask>(session, options.save_mesh));
    }
    if (options.save_field) job->append(std::make_unique<SaveFieldTask>(session));
    if (!options.save_project.empty())
        job->append(std::make_unique<WriteProjectTask>(session, options.save_project));
    return job->empty() ? TaskOutcome::done : runner.run(job);
}

enum class Saving { tried, left_out };

/// Tells the user how the run ended. A result that the user wanted unaligned is no failure.
ExitStatus conclude(TaskOutcome outcome, std::string failure, Saving saving) {
    if (outcome == TaskOutcome::done) return ExitStatus::done;
    if (outcome == TaskOutcome::done_with_errors && saving == Saving::tried) {
        console().line("warning: " + failure);
        return ExitStatus::done;
    }
    if (outcome == TaskOutcome::aborted) failure = "interrupted";
    if (failure.empty()) failure = "the computation failed";
    if (saving == Saving::left_out) failure += "; nothing was saved";
    if (outcome == TaskOutcome::done_with_errors)
        failure += " (--allow-unaligned saves all the same)";
    console().error(failure);
    return ExitStatus::failed;
}

/// Refuses before the run what finding markers would refuse in it.
void check_detection(const RunOptions& options) {
    const DetectionArguments& detection = options.detection;
    detection_options(detection);
    if (!options.auto_markers &&
        (detection.bright || detection.expect > 0 || !detection.size.empty()))
        throw UsageError("--bright, --size and --expect belong to --auto-markers");
}

/// The ports that the page compares the field with; the height (pixels) is that of the field.
MarkerSet read_ports(const RunOptions& options, int image_height) {
    if (options.ports.empty()) return {};
    if (options.html.empty() && options.pdf.empty())
        throw UsageError("--ports belongs to --html and --pdf");
    return read_port_file(options.ports, image_height);
}

/// Writes the check of the point as page and document, also of a run that failed: what there is
/// then.
void write_check(const RunOptions& options, Session session, RunReport report,
                 const std::string& failure, Runner& runner) {
    if (!failure.empty())
        report.warnings.push_back({WarningKind::failure, "The run ended with: " + failure});
    const auto field = session.images.find(image_names::field);
    auto task = std::make_unique<PointReportTask>(
        session, std::make_shared<const RunReport>(std::move(report)),
        read_ports(options, field ? field->height() : 0));
    const std::shared_ptr<const PointReport> result = task->result();
    const TaskOutcome outcome = runner.run(job_of(std::move(task)));
    if (outcome != TaskOutcome::done)
        throw std::runtime_error("the page could not be made: " + (outcome == TaskOutcome::aborted
                                                                       ? "interrupted"
                                                                       : runner.failure()));
    const Document check = report_document(*result);
    if (!options.html.empty()) write_file(options.html, html_of(check));
    if (!options.pdf.empty()) write_file(options.pdf, pdf_of(check));
}

ExitStatus run(const RunOptions& options) {
    check_detection(options);
    std::vector<SaveRequest> saves;
    for (const std::string& text : options.saves)
        saves.push_back(parse_save(text, overwriting(options)));
    for (const std::string& file :
         {options.report, options.html, options.pdf, options.save_project, options.save_mesh})
        check_output(file, overwriting(options));
    read_ports(options, /*image_height=*/0);  // a file that cannot be read is said at once

    const auto lock = options.save_project.empty() ? nullptr : lock_project(options.save_project);
    OwnSession point;
    const Session session = point.get();
    Runner runner;
    const auto report = std::make_shared<RunReport>();
    std::string failure;
    TaskOutcome outcome = compute(options, session, runner, report, failure);
    const bool worth_saving = outcome == TaskOutcome::done ||
                              (outcome == TaskOutcome::done_with_errors && options.allow_unaligned);
    if (worth_saving) {
        const TaskOutcome saved = save_all(options, session, saves, runner);
        if (saved != TaskOutcome::done) {
            outcome = saved;
            failure = runner.failure();
        }
    }
    if (!options.report.empty())
        write_file(options.report, json_text(to_json(*report, point.data, point.images, outcome,
                                                     failure, runner.stages()),
                                             2) +
                                       "\n");
    if (!options.html.empty() || !options.pdf.empty())
        write_check(options, session, *report, failure, runner);
    return conclude(outcome, failure, worth_saving ? Saving::tried : Saving::left_out);
}

}  // namespace

Work prepare_run(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<RunOptions>();
    app.add_option("PROJECT", options->project, "project file (.xml) or container (.ims)")
        ->required();
    app.add_option("--set", options->settings, "KEY=VALUE: replace a setting of the project")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--save", options->saves,
                   "NAME=FILE: save an image of the image list, such as field_P or Iref; the "
                   "extension picks the format")
        ->take_all()
        ->allow_extra_args(false);
    app.add_flag("--save-field", options->save_field,
                 "save the field and its markers where the project says");
    app.add_option("--save-project", options->save_project,
                   "save the project; as .ims together with all images");
    app.add_option("--report", options->report,
                   "write a report (JSON): outcome, stage times, alignment, law, inputs");
    app.add_option("--html", options->html,
                   "write the check of the point as a page with its pictures (HTML)");
    app.add_option("--pdf", options->pdf, "write the same as a document of A4 pages (PDF)");
    app.add_option("--ports", options->ports,
                   "marker file of the pressure ports for the page: pixels of the field, pressure "
                   "as f in the unit of the test conditions");
    app.add_option("--mesh", options->mesh,
                   "the model's mesh: find where the camera stood and put the field on it");
    app.add_option("--markers3d", options->markers3d, "markers on the model (mrk, apm) for --mesh");
    app.add_option("--save-mesh", options->save_mesh,
                   "write the mesh with its values; the extension picks the format");
    app.add_flag("--auto-markers", options->auto_markers,
                 "find the markers of images whose marker files the project does not name");
    add_detection_options(app, options->detection);
    app.add_flag("--allow-unaligned", options->allow_unaligned,
                 "save results even when the images could not be aligned, or poorly");
    app.add_flag("--force", options->force, "replace existing files");
    std::string steps = "Steps of the computation:\n";
    for (const Step& step : step_table())
        steps += std::string("  ") + step.name + ": " + step.meaning + "\n";
    app.footer(steps);
    return [options] { return run(*options); };
}

}  // namespace vyn::cli
