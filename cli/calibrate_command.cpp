#include "cli/calibrate_command.h"

#include <filesystem>
#include <memory>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "api/image_list.h"
#include "calib/in_situ_calibration.h"
#include "calib/units.h"
#include "cli/console.h"
#include "cli/runner.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "core/keys.h"
#include "core/progress.h"
#include "process/point/experiment_type.h"
#include "process/point/project_lock.h"
#include "process/point/project_paths.h"
#include "process/project/project_tasks.h"
#include "process/report/calibration_report.h"
#include "process/report/json_text.h"
#include "process/report/run_report_json.h"
#include "process/steps/chain.h"
#include "process/steps/port_point.h"

namespace vyn::cli {

namespace {

/// A project as far as it was computed.
struct ComputedPoint {
    OwnSession session;
    std::string ports;
    std::shared_ptr<RunReport> run = std::make_shared<RunReport>();
    std::vector<StageTime> stages;
};

/// Raises what keeps the calibration from going on.
void require_done(TaskOutcome outcome, const std::string& failure) {
    if (outcome == TaskOutcome::aborted) throw Aborted();
    if (outcome == TaskOutcome::failed)
        throw std::runtime_error(failure.empty() ? "the computation failed" : failure);
}

/// The ports that the command line names, else the project; what is wrong with them is said before
/// anything is computed.
std::string ports_of(const CalibrateOptions& options, const std::string& project,
                     const dataSetInterface& data) {
    std::string file = options.ports;
    if (file.empty()) {
        const std::string name = read(data, keys::port_file);
        if (name.empty())
            throw std::runtime_error(project + ": " + std::string(keys::port_file.path) +
                                     " names no ports; give them with --ports");
        const std::filesystem::path found = locate(name, project_folder(data));
        file = found.empty() ? name : found.string();
    }
    MarkerSet ports;
    if (const auto wrong = read_ports(file, /*image_height=*/0, ports))
        throw std::runtime_error(wrong->warning + ": " + wrong->reason);
    return file;
}

/// Loads the project and computes its ratio image; takes that of a container without raw images.
void compute_ratio(const CalibrateOptions& options, const std::string& project,
                   ComputedPoint& point) {
    Runner runner;
    const Session session = point.session.get();
    if (!options.ports.empty()) point.ports = ports_of(options, project, session.data);
    require_done(runner.run(job_of(std::make_unique<ReadProjectTask>(
                     session, read_request(project, options.settings)))),
                 runner.failure());
    if (point.ports.empty()) point.ports = ports_of(options, project, session.data);
    const TaskOutcome outcome = runner.run(calculate(Goal::ratio, session, point.run));
    require_done(outcome, runner.failure());
    if (outcome == TaskOutcome::done_with_errors)
        throw std::runtime_error(unaligned_text(*point.run));
    if (!session.images.find(image_names::ratio))
        throw std::runtime_error(missing_input({session.data, session.images}));
    point.stages = runner.stages();
}

InSituCalibration fit_ports(const CalibrateOptions& options, const ComputedPoint& point,
                            const Session& session) {
    InSituOutcome outcome =
        calibrate_in_situ(point.ports, session.images.find(image_names::ratio).get(),
                          for_point(options.law, session));
    if (!outcome.calibration) throw std::runtime_error(outcome.warning + ": " + outcome.reason);
    return std::move(*outcome.calibration);
}

void store(const CalibrateOptions& options, const std::string& project,
           const InSituCalibration& calibration) {
    Runner runner;
    require_done(runner.run(job_of(
                     std::make_unique<StoreLawTask>(project, calibration, options.wind_off_ratio))),
                 runner.failure());
}

void calibrate_one(const CalibrateOptions& options) {
    ComputedPoint point;
    const std::string& project = options.projects.front();
    compute_ratio(options, project, point);
    const Session session = point.session.get();
    InSituCalibration fitted = fit_ports(options, point, session);
    write(session.data, keys::convert_wind_off_ratio, options.wind_off_ratio);
    const CalibrationReport calibration = report_calibration(
        session.data, session.images, point.ports, options.law, std::move(fitted));
    const InSituCalibration& law = calibration.calibration;
    if (!options.results.empty()) write_file(options.results, results_file(law.samples.points));
    if (!options.calibration_file.empty())
        write_paint_calibration(options.calibration_file, law.paint);
    if (options.accept) store(options, project, law);
    if (!options.report.empty()) {
        nlohmann::json report =
            to_json(*point.run, session.data, session.images, TaskOutcome::done, {}, point.stages);
        report["calibration"] = to_json(calibration);
        write_file(options.report, json_text(report, 2) + "\n");
    }
    print(to_text(calibration));
}

/// One law for the ports of all projects.
void calibrate_several(const CalibrateOptions& options) {
    std::vector<SampledPoint> points;
    std::vector<std::unique_ptr<ComputedPoint>> computed;
    for (const std::string& project : options.projects) {
        const auto& point = computed.emplace_back(std::make_unique<ComputedPoint>());
        compute_ratio(options, project, *point);
        const Session session = point->session.get();
        points.push_back(port_point(session, project, point->ports, options.law));
        // The report asks for settings and whether there are wind-off pictures; all pictures of
        // all points are too many.
        for (const auto& picture : session.images.all())
            if (picture->name != image_names::wind_off_sens) session.images.remove(picture->name);
    }
    JointOutcome outcome = calibrate_jointly(std::move(points), options.law);
    if (!outcome.calibration) throw std::runtime_error(outcome.reason);
    const JointCalibration& joint = *outcome.calibration;
    std::vector<CalibrationReport> reports;
    for (std::size_t i = 0; i < computed.size(); ++i) {
        const Session session = computed[i]->session.get();
        write(session.data, keys::convert_wind_off_ratio, options.wind_off_ratio);
        reports.push_back(report_calibration(session.data, session.images, computed[i]->ports,
                                             options.law, joint.points[i]));
        reports.back().name = options.projects[i];
    }
    print(to_text(reports));
    if (!options.report.empty())
        write_file(options.report, json_text({{"points", to_json(reports)}}, 2) + "\n");
    if (options.accept)
        for (std::size_t i = 0; i < computed.size(); ++i)
            store(options, options.projects[i], joint.points[i]);
    if (options.calibration_file.empty()) return;
    if (!joint.common)
        throw std::runtime_error(options.calibration_file +
                                 ": the points' wind-off ratios differ, so that no one file holds "
                                 "the law of all; store it in the projects with --accept");
    write_paint_calibration(options.calibration_file, *joint.common);
}

/// Raises UsageError for options that do not go together.
void check_usage(const CalibrateOptions& options) {
    const std::string& unit = options.law.pressure_unit;
    if (unit != "Pa" && !is_pressure_unit(unit))
        throw UsageError("--unit " + unit + ": there is no such pressure unit");
    const std::string rule(keys::convert_wind_off_ratio.path);
    for (const std::string& setting : options.settings)
        if (setting.starts_with(rule + "="))
            throw UsageError("--set " + setting + ": here --wind-off-ratio says it");
    const bool polynomial = options.law.model == CalibrationModel::polynomial;
    if (polynomial && !options.terms_given)
        throw UsageError("--terms is required for --model polynomial");
    if (!polynomial && options.terms_given)
        throw UsageError("--terms is for --model polynomial only");
    if (!polynomial && options.wind_off_ratio != "unity")
        throw UsageError("--wind-off-ratio law: the law of --model " + options.model +
                         " holds the wind-off ratio");
    if (options.projects.size() == 1) return;
    if (!options.ports.empty())
        throw UsageError("--ports is for one project; of several each names its own ports in " +
                         std::string(keys::port_file.path));
    if (!options.results.empty()) throw UsageError("--results is for one project");
}

}  // namespace

ExitStatus calibrate(CalibrateOptions options) {
    options.law.model = calibration_model(options.model);
    check_usage(options);
    const Overwriting overwriting = options.force ? Overwriting::allowed : Overwriting::refused;
    for (const std::string& file : {options.calibration_file, options.report, options.results})
        check_output(file, overwriting);
    std::vector<std::unique_ptr<FileLock>> locks;
    if (options.accept)
        for (const std::string& project : options.projects)
            locks.push_back(lock_project(project));
    if (options.projects.size() == 1)
        calibrate_one(options);
    else
        calibrate_several(options);
    return ExitStatus::done;
}

CLI::Option* add_law_options(CLI::App& app, CalibrateOptions& options) {
    app.add_option("--model", options.model,
                   "what is fitted: a law of its own, or of the project's law a gain of the ratio "
                   "(k), offset and gain of the pressure, or a difference of the wind-on "
                   "temperature")
        ->check(CLI::IsMember(calibration_model_names()))
        ->capture_default_str();
    CLI::Option* const terms = app.add_option("--terms", options.law.terms,
                                              "terms of a polynomial law: 1 constant, 2 linear, 3")
                                   ->check(CLI::Range(1, gauss_approximation::most_terms));
    app.add_option("--port-sigma", options.law.port_sigma,
                   "standard deviation of a port's pressure, for the weights of a corrected law; "
                   "0: not known")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    app.add_option("--area", options.law.side,
                   "side of the square averaged around each port, in pixels")
        ->required()
        ->check(CLI::Range(1, max_bitmap_side));
    app.add_option("--unit", options.law.pressure_unit, "unit of the ports' pressures")
        ->capture_default_str();
    return terms;
}

Work prepare_calibrate(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<CalibrateOptions>();
    app.add_option("PROJECT", options->projects,
                   "project files (.xml) or containers (.ims); one law is fitted to the ports of "
                   "all of them")
        ->required();
    app.add_option("--ports", options->ports,
                   "marker file of the pressure ports: pixels of the ratio image, pressure as f; "
                   "else each project's own (project/test_point/port_file)");
    CLI::Option* const terms = add_law_options(app, *options);
    app.add_option("--set", options->settings,
                   "KEY=VALUE: replace a setting of the project for this computation")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--out", options->calibration_file,
                   "write the law as a paint calibration (.clb), with its covariance");
    app.add_option("--results", options->results,
                   "write number, ratio and pressure of the ports (CSV)");
    app.add_option("--report", options->report,
                   "write a report (JSON): law, covariance, residuals, what it came from");
    app.add_option("--wind-off-ratio", options->wind_off_ratio,
                   "fa of the field: 1 (unity), right for a law fitted to the ratio, or by the law")
        ->check(CLI::IsMember({"unity", "law"}))
        ->capture_default_str();
    app.add_flag("--accept", options->accept,
                 "store the law and its wind-off ratio in the project files");
    app.add_flag("--force", options->force, "replace existing files");
    return [options, terms] {
        options->terms_given = terms->count() > 0;
        return calibrate(*options);
    };
}

}  // namespace vyn::cli
