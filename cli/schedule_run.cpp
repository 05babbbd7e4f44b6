#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/schedule_command.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "schedule/scheduler.h"
#include "schedule/summary.h"

namespace vyn::cli {

namespace {

struct RunOptions {
    ScheduleArguments schedule;
    std::vector<std::string> only;
    std::string shard;
    ComputeRequest request;
    bool allow_unaligned = false;
};

Shard parse_shard(const std::string& text) {
    const std::size_t slash = text.find('/');
    const std::optional<int> number = parse_int(text.substr(0, slash));
    const std::optional<int> count =
        slash == std::string::npos ? std::nullopt : parse_int(text.substr(slash + 1));
    if (!number || !count || *number < 1 || *number > *count)
        throw UsageError("--shard " + text + ": expected i/n with i from 1 to n");
    return {*number, *count};
}

/// Tells how points get on, a line each, and remembers what was not as it should be.
class RunView final : public ScheduleObserver {
  public:
    RunView(std::size_t count, FigureLimits limits, bool quiet)
        : count_(count), limits_(std::move(limits)), quiet_(quiet) {}

    void finished(const SchedulePoint& point, Taken how, const PointState* state,
                  const std::string& note) override {
        ++finished_;
        const std::string place =
            "[" + std::to_string(finished_) + "/" + std::to_string(count_) + "] " + point.name;
        if (!state) {
            tell(place + ": " + (note.empty() ? "another scheduler" : note) + " computes it");
            return;
        }
        std::string text = how == Taken::kept        ? "was done before"
                           : how == Taken::elsewhere ? "was computed by " + note
                                                     : name(state->outcome);
        std::string problem = state->reason;
        if (state->outcome == PointState::Outcome::done)
            for (const std::string& beyond : beyond_limits(state->figures, limits_))
                problem += (problem.empty() ? "" : "; ") + beyond;
        if (state->outcome == PointState::Outcome::aborted) aborted_ = true;
        if (!problem.empty()) {
            problems_.push_back(point.name + ": " + problem);
            text += ": " + problem;
        } else if (how == Taken::computed) {
            text += figures(*state);
        }
        tell(place + " " + text);
    }

    bool aborted() const override { return InterruptGuard::requested(); }

    /// The process of a point has a log file for its messages.
    void in_process_of_point() override {
        console().set_verbosity(GlobalOptions::Verbosity::quiet);
    }

    const std::vector<std::string>& problems() const { return problems_; }
    bool was_aborted() const { return aborted_; }

  private:
    static std::string figures(const PointState& state) {
        std::string text;
        for (const auto& [figure, unit] : {std::pair{"seconds", " s"}, std::pair{"rms_px", " px"}})
            if (const auto value = state.figures.find(figure); value != state.figures.end())
                text += (text.empty() ? " (" : ", ") + format_general(value->second, 3) + unit;
        return text.empty() ? text : text + ")";
    }

    void tell(const std::string& line) const {
        if (!quiet_) console().line(line);
    }

    std::size_t count_;
    FigureLimits limits_;
    bool quiet_;
    std::size_t finished_ = 0;
    bool aborted_ = false;
    std::vector<std::string> problems_;
};

ExitStatus run(const RunOptions& options, const GlobalOptions& global) {
    ComputeRequest request = options.request;
    if (!options.shard.empty()) request.shard = parse_shard(options.shard);
    request.threads = global.threads;
    request.unaligned = options.allow_unaligned ? Unaligned::allowed : Unaligned::refused;
    const FigureLimits limits = limits_of(options.schedule);
    const Schedule schedule = read_sound_schedule(options.schedule);
    std::vector<Problem> unknown;
    const std::vector<const SchedulePoint*> points = points_named(schedule, options.only, unknown);
    if (!unknown.empty()) throw UsageError("--only: " + line_of(unknown.front()));

    const InterruptGuard interrupt;
    RunView view(points.size(), limits, global.verbosity == GlobalOptions::Verbosity::quiet);
    compute_points(schedule, points, request, view);
    if (read_schedule(options.schedule).digest != schedule.digest)
        console().line(options.schedule.file +
                       " changed while it ran; run --resume computes what that changed");
    if (view.was_aborted() || InterruptGuard::requested()) {
        console().error("interrupted; run --resume goes on");
        return ExitStatus::failed;
    }
    for (const std::string& problem : view.problems())
        console().error(problem);
    return view.problems().empty() ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace

void add_schedule_run(CLI::App& schedule, const GlobalOptions& global, Work& work) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App* app = schedule.add_subcommand("run", "compute the points, each in its own process");
    add_schedule(*app, options->schedule);
    app->add_option("--jobs", options->request.jobs, "points at a time; 0: one for each core")
        ->check(CLI::Range(0, 1024));
    app->add_option("--shard", options->shard, "i/n: only the i-th of n equal parts");
    app->add_option("--only", options->only, "only the points of these names; * and ? match any")
        ->take_all();
    app->add_flag("--resume", options->request.resume,
                  "leave out points that are done and whose settings and files are the same");
    add_limits(*app, options->schedule);
    app->add_flag("--allow-unaligned", options->allow_unaligned,
                  "save results even when the images could not be aligned, or poorly");
    app->footer(
        "Each point has a folder in that of the results: point.xml (its project), the field,\n"
        "page.html, report.json, log.txt, thumbnail.png and state.json. --threads says how many\n"
        "threads each point takes. Exit status 1 when a point is not done or beyond a limit.");
    app->callback(
        [options, &global, &work] { work = [options, &global] { return run(*options, global); }; });
}

}  // namespace vyn::cli
