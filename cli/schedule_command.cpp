#include "cli/schedule_command.h"

#include "cli/console.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "schedule/cluster_script.h"

namespace vyn::cli {

namespace {

struct CheckOptions {
    ScheduleArguments schedule;
};

void print_problems(const std::vector<Problem>& problems) {
    std::string text;
    for (const Problem& problem : problems)
        text += line_of(problem) + "\n";
    print(text);
}

ExitStatus check(const CheckOptions& options) {
    const Schedule schedule = read_schedule(options.schedule);
    std::vector<Problem> problems = schedule.problems;
    const std::vector<Problem> missing = missing_inputs(schedule);
    problems.insert(problems.end(), missing.begin(), missing.end());
    print_problems(problems);
    if (!problems.empty()) {
        console().error(options.schedule.file + ": " + std::to_string(problems.size()) +
                        (problems.size() == 1 ? " problem" : " problems"));
        return ExitStatus::failed;
    }
    print(std::to_string(schedule.points.size()) + " points, all can be computed\n");
    return ExitStatus::done;
}

}  // namespace

void add_schedule(CLI::App& app, ScheduleArguments& arguments) {
    app.add_option("TABLE", arguments.file, "table of points (.csv or .json)")->required();
    app.add_option("--base", arguments.base,
                   "project that the points stand on; without it the column base, or the project "
                   "beside the table with its name");
    app.add_option("--results", arguments.results,
                   "folder of the results; TABLE_results beside the table when it is not given");
}

void add_limits(CLI::App& app, ScheduleArguments& arguments) {
    std::string names;
    for (const FigureInfo& figure : figure_table())
        if (figure.bad != FigureInfo::Bad::never)
            names += (names.empty() ? "" : ", ") + std::string(figure.name);
    app.add_option("--limit", arguments.limits,
                   "NAME=NUMBER: a point beyond it counts as not done; NAME is one of " + names +
                       "; saturated=0.01 holds unless given otherwise")
        ->take_all()
        ->allow_extra_args(false);
}

Schedule read_schedule(const ScheduleArguments& arguments) {
    return vyn::read_schedule(arguments.file, {arguments.base, arguments.results});
}

Schedule read_sound_schedule(const ScheduleArguments& arguments) {
    Schedule schedule = read_schedule(arguments);
    if (schedule.problems.empty()) return schedule;
    print_problems(schedule.problems);
    throw FileError("File error!", arguments.file + ": the table has " +
                                       std::to_string(schedule.problems.size()) +
                                       (schedule.problems.size() == 1 ? " problem" : " problems") +
                                       "; nothing was done");
}

FigureLimits limits_of(const ScheduleArguments& arguments) {
    FigureLimits limits = usual_limits();
    for (const std::string& text : arguments.limits) {
        try {
            parse_limit(text, limits);
        } catch (const AlgoError& error) {
            throw UsageError("--limit " + text + ": " + error.detail);
        }
    }
    return limits;
}

std::string named_places(const ScheduleArguments& arguments) {
    std::string text;
    for (const auto& [option, path] :
         {std::pair{" --base ", arguments.base}, std::pair{" --results ", arguments.results}})
        if (!path.empty()) text += option + shell_quoted(std::filesystem::absolute(path).string());
    return text;
}

void add_schedule_check(CLI::App& schedule, Work& work) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* app = schedule.add_subcommand(
        "check", "tell everything that is wrong with a table, and what files are missing");
    add_schedule(*app, options->schedule);
    app->callback([options, &work] { work = [options] { return check(*options); }; });
}

Work prepare_schedule(CLI::App& app, const GlobalOptions& global) {
    const auto chosen = std::make_shared<Work>();
    app.require_subcommand(1);
    add_schedule_new(app, *chosen);
    add_schedule_check(app, *chosen);
    add_schedule_run(app, global, *chosen);
    add_schedule_status(app, *chosen);
    add_schedule_summary(app, *chosen);
    add_schedule_calibrate(app, *chosen);
    add_schedule_slurm(app, *chosen);
    add_schedule_parallel(app, *chosen);
    app.footer(
        "A table has a row a point and a column a setting, by its full path or by the end of it\n"
        "where that is unique (wind_on_file, mach, static_p). Further columns: point (the name),\n"
        "group, skip, base, paint, auto_markers, note, and save.IMAGE (a file for an image). A "
        "second\n"
        "row may hold units. Cells may be patterns of other columns: images/{point}_on.tif,\n"
        "{mach:.2f}. A row whose point is a regular expression between slashes, such as /^A/ or\n"
        "/.*/, fills the empty cells of the points that match.");
    return [chosen] { return (*chosen)(); };
}

}  // namespace vyn::cli
