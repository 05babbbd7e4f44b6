#include <filesystem>
#include <memory>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "api/image_list.h"
#include "calib/in_situ_calibration.h"
#include "calib/units.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/runner.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "core/keys.h"
#include "core/progress.h"
#include "process/point/experiment_type.h"
#include "process/project/project_tasks.h"
#include "process/report/calibration_report.h"
#include "process/report/json_text.h"
#include "process/report/run_report_json.h"
#include "process/steps/chain.h"

namespace vyn::cli {

namespace {

struct CalibrateOptions {
    std::string project;
    std::vector<std::string> settings;
    std::string ports;
    InSituOptions law;
    std::string wind_off_ratio = "unity";
    std::string calibration_file;
    std::string report;
    std::string results;
    bool accept = false;
    bool force = false;
};

/// Raises what keeps the calibration from going on.
void require_done(TaskOutcome outcome, const std::string& failure) {
    if (outcome == TaskOutcome::aborted) throw Aborted();
    if (outcome == TaskOutcome::failed)
        throw std::runtime_error(failure.empty() ? "the computation failed" : failure);
}

/// Loads the project and computes its ratio image; takes that of a container without raw images.
std::shared_ptr<const image> compute_ratio(const CalibrateOptions& options, Session session,
                                           Runner& runner,
                                           const std::shared_ptr<RunReport>& report) {
    require_done(runner.run(job_of(std::make_unique<ReadProjectTask>(
                     session, read_request(options.project, options.settings)))),
                 runner.failure());
    const TaskOutcome outcome = runner.run(calculate(Goal::ratio, session, report));
    require_done(outcome, runner.failure());
    if (outcome == TaskOutcome::done_with_errors) throw std::runtime_error(unaligned_text(*report));
    auto ratio = session.images.find(image_names::ratio);
    if (!ratio) throw std::runtime_error(missing_input({session.data, session.images}));
    return ratio;
}

InSituCalibration fit_ports(const CalibrateOptions& options, const image* ratio) {
    InSituOutcome outcome = calibrate_in_situ(options.ports, ratio, options.law);
    if (!outcome.calibration) throw std::runtime_error(outcome.warning + ": " + outcome.reason);
    return std::move(*outcome.calibration);
}

void save_all(const CalibrateOptions& options, const Session& session,
              const CalibrationReport& calibration, const RunReport& run, Runner& runner) {
    const paintFeatures& paint = calibration.calibration.paint;
    if (!options.results.empty())
        write_file(options.results, results_file(calibration.calibration.samples.points));
    if (!options.calibration_file.empty()) write_paint_calibration(options.calibration_file, paint);
    if (options.accept)
        require_done(runner.run(job_of(std::make_unique<StoreLawTask>(options.project, paint,
                                                                      options.wind_off_ratio))),
                     runner.failure());
    if (options.report.empty()) return;
    nlohmann::json report =
        to_json(run, session.data, session.images, TaskOutcome::done, {}, runner.stages());
    report["calibration"] = to_json(calibration);
    write_file(options.report, json_text(report, 2) + "\n");
}

ExitStatus calibrate(const CalibrateOptions& options) {
    const Overwriting overwriting = options.force ? Overwriting::allowed : Overwriting::refused;
    for (const std::string& file : {options.calibration_file, options.report, options.results})
        check_output(file, overwriting);
    const auto lock = options.accept ? lock_project(options.project) : nullptr;
    const std::string& unit = options.law.pressure_unit;
    if (unit != "Pa" && !is_pressure_unit(unit))
        throw UsageError("--unit " + unit + ": there is no such pressure unit");

    const std::string rule(keys::convert_wind_off_ratio.path);
    for (const std::string& setting : options.settings)
        if (setting.starts_with(rule + "="))
            throw UsageError("--set " + setting + ": here --wind-off-ratio says it");

    // What is wrong with the ports is said before anything is computed.
    MarkerSet ports;
    if (const auto wrong = read_ports(options.ports, /*image_height=*/0, ports))
        throw std::runtime_error(wrong->warning + ": " + wrong->reason);

    OwnSession point;
    const Session session = point.get();
    Runner runner;
    const auto run = std::make_shared<RunReport>();
    const auto ratio = compute_ratio(options, session, runner, run);
    write(session.data, keys::convert_wind_off_ratio, options.wind_off_ratio);
    const CalibrationReport calibration = report_calibration(
        session.data, session.images, options.ports, options.law, fit_ports(options, ratio.get()));
    save_all(options, session, calibration, *run, runner);
    print(to_text(calibration));
    return ExitStatus::done;
}

}  // namespace

Work prepare_calibrate(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<CalibrateOptions>();
    app.add_option("PROJECT", options->project, "project file (.xml) or container (.ims)")
        ->required();
    app.add_option("--ports", options->ports,
                   "marker file of the pressure ports: pixels of the ratio image, pressure as f")
        ->required();
    app.add_option("--terms", options->law.terms, "terms of the law: 1 constant, 2 linear, 3")
        ->required()
        ->check(CLI::Range(1, gauss_approximation::most_terms));
    app.add_option("--area", options->law.side,
                   "side of the square averaged around each port, in pixels")
        ->required()
        ->check(CLI::Range(1, max_bitmap_side));
    app.add_option("--unit", options->law.pressure_unit, "unit of the ports' pressures")
        ->capture_default_str();
    app.add_option("--set", options->settings,
                   "KEY=VALUE: replace a setting of the project for this computation")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--out", options->calibration_file,
                   "write the law as a paint calibration (.clb)");
    app.add_option("--results", options->results,
                   "write number, ratio and pressure of the ports (CSV)");
    app.add_option("--report", options->report,
                   "write a report (JSON): law, covariance, residuals, what it came from");
    app.add_option("--wind-off-ratio", options->wind_off_ratio,
                   "fa of the field: 1 (unity), right for a law fitted to the ratio, or by the law")
        ->check(CLI::IsMember({"unity", "law"}))
        ->capture_default_str();
    app.add_flag("--accept", options->accept,
                 "store the law and its wind-off ratio in the project file");
    app.add_flag("--force", options->force, "replace existing files");
    return [options] { return calibrate(*options); };
}

}  // namespace vyn::cli
