#include <nlohmann/json.hpp>

#include "cli/console.h"
#include "cli/schedule_command.h"
#include "core/atomic_file.h"
#include "process/report/json_text.h"
#include "schedule/summary.h"

namespace vyn::cli {

namespace {

struct ResultsOptions {
    ScheduleArguments schedule;
    bool json = false;
};

bool all_good(const std::vector<PointStatus>& statuses) {
    for (const PointStatus& status : statuses)
        if (!is_good(status.kind)) return false;
    return true;
}

std::string status_json(const Schedule& schedule, const std::vector<PointStatus>& statuses) {
    nlohmann::json list = nlohmann::json::array();
    for (std::size_t i = 0; i < statuses.size(); ++i) {
        nlohmann::json entry{{"point", schedule.points[i].name}, {"state", name(statuses[i].kind)}};
        if (!statuses[i].reason.empty()) entry["reason"] = statuses[i].reason;
        if (statuses[i].state) entry["figures"] = statuses[i].state->figures;
        list.push_back(std::move(entry));
    }
    return json_text(list, 1) + "\n";
}

ExitStatus show_status(const ResultsOptions& options) {
    const FigureLimits limits = limits_of(options.schedule);
    const Schedule schedule = read_sound_schedule(options.schedule);
    const std::vector<PointStatus> statuses = survey(schedule, limits);
    std::string text = summary_line(statuses) + "\n";
    for (std::size_t i = 0; i < statuses.size(); ++i)
        if (!statuses[i].reason.empty())
            text += schedule.points[i].name + ": " + name(statuses[i].kind) + ": " +
                    statuses[i].reason + "\n";
    print(options.json ? status_json(schedule, statuses) : text);
    return all_good(statuses) ? ExitStatus::done : ExitStatus::failed;
}

ExitStatus summarise(const ResultsOptions& options) {
    const FigureLimits limits = limits_of(options.schedule);
    const Schedule schedule = read_sound_schedule(options.schedule);
    const std::vector<PointStatus> statuses = survey(schedule, limits);
    write_file(schedule.results / "summary.csv", summary_csv(schedule, statuses));
    write_file(schedule.results / "index.html", index_page(schedule, statuses, limits));
    print((schedule.results / "index.html").string() + ": " + summary_line(statuses) + "\n");
    return all_good(statuses) ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace

void add_schedule_status(CLI::App& schedule, Work& work) {
    const auto options = std::make_shared<ResultsOptions>();
    CLI::App* app = schedule.add_subcommand("status", "say how the points stand");
    add_schedule(*app, options->schedule);
    add_limits(*app, options->schedule);
    app->add_flag("--json", options->json, "print every point with its figures as JSON");
    app->footer("Exit status 0 when every point is done, unchanged and within the limits, else 1.");
    app->callback([options, &work] { work = [options] { return show_status(*options); }; });
}

void add_schedule_summary(CLI::App& schedule, Work& work) {
    const auto options = std::make_shared<ResultsOptions>();
    CLI::App* app = schedule.add_subcommand(
        "summary", "write summary.csv and index.html into the folder of the results");
    add_schedule(*app, options->schedule);
    add_limits(*app, options->schedule);
    app->footer("Exit status 0 when every point is done, unchanged and within the limits, else 1.");
    app->callback([options, &work] { work = [options] { return summarise(*options); }; });
}

}  // namespace vyn::cli
