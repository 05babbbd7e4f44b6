#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

#include "cli/calibrate_command.h"
#include "cli/console.h"
#include "cli/schedule_command.h"
#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "schedule/point_project.h"

namespace vyn::cli {

namespace fs = std::filesystem;

namespace {

struct GroupOptions {
    ScheduleArguments schedule;
    std::vector<std::string> groups;
    CalibrateOptions law;
    bool accept = false;
};

using Groups = std::map<std::string, std::vector<const SchedulePoint*>>;

/// The points that share a law, by their group.
Groups groups_of(const Schedule& schedule, const std::vector<std::string>& wanted) {
    Groups groups;
    for (const SchedulePoint& point : schedule.points)
        if (!point.skip &&
            (wanted.empty() || std::ranges::find(wanted, point.group) != wanted.end()))
            groups[point.group].push_back(&point);
    for (const std::string& group : wanted)
        if (!groups.contains(group)) throw UsageError("--group: no point is of group " + group);
    return groups;
}

/// Column of that head; a new one where the table has none.
std::size_t column_of(Table& table, const std::string& head) {
    const auto found = std::ranges::find(table.heads, head);
    if (found != table.heads.end()) return static_cast<std::size_t>(found - table.heads.begin());
    table.heads.push_back(head);
    for (TableRow& row : table.rows)
        row.cells.emplace_back();
    return table.heads.size() - 1;
}

/// Names the law in the rows of the points, with the wind-off ratio that it holds for.
void put_law(Table& table, const std::vector<const SchedulePoint*>& points, const fs::path& law,
             const std::string& wind_off_ratio) {
    const std::size_t paint = column_of(table, "paint");
    const std::size_t ratio = column_of(table, "wind_off_ratio");
    for (const SchedulePoint* point : points) {
        const auto row = std::ranges::find(table.rows, point->row, &TableRow::number);
        row->cells[paint] = law.lexically_relative(point->base->file.parent_path()).string();
        row->cells[ratio] = wind_off_ratio;
    }
}

ExitStatus calibrate_groups(const GroupOptions& options) {
    const Schedule schedule = read_sound_schedule(options.schedule);
    if (options.accept && lower_extension(schedule.file) == "json")
        throw UsageError("--accept writes tables of separated values only");
    Table table = schedule.table;
    for (const auto& [group, points] : groups_of(schedule, options.groups)) {
        CalibrateOptions law = options.law;
        for (const SchedulePoint* point : points)
            law.projects.push_back(project_of_point(schedule, *point).string());
        std::string name = group.empty() ? "law" : "law_" + group;
        std::ranges::replace(name, '/', '_');
        law.calibration_file = (schedule.results / (name + ".clb")).string();
        law.report = (schedule.results / (name + ".json")).string();
        law.force = true;
        if (!group.empty()) print("Group " + group + "\n");
        calibrate(law);
        print("law: " + law.calibration_file + "\n");
        put_law(table, points, law.calibration_file, law.wind_off_ratio);
    }
    if (!options.accept) return ExitStatus::done;
    write_file(schedule.file, csv_text(table));
    print("named in " + schedule.file.string() + "; schedule run --resume computes with it\n");
    return ExitStatus::done;
}

}  // namespace

void add_schedule_calibrate(CLI::App& schedule, Work& work) {
    const auto options = std::make_shared<GroupOptions>();
    CLI::App* app = schedule.add_subcommand(
        "calibrate", "fit one law to the ports of all points of a group, for every group");
    add_schedule(*app, options->schedule);
    CLI::Option* const terms = add_law_options(*app, options->law);
    app->add_option("--group", options->groups, "only the groups of these names")->take_all();
    app->add_flag("--accept", options->accept,
                  "name the law in the table (columns paint and wind_off_ratio), so that the "
                  "points are computed with it");
    app->footer(
        "Each point names its ports in project/test_point/port_file. The law of a group goes to\n"
        "law_GROUP.clb in the folder of the results, with its covariance, and what it means for\n"
        "each point to law_GROUP.json.");
    app->callback([options, terms, &work] {
        work = [options, terms] {
            options->law.terms_given = terms->count() > 0;
            return calibrate_groups(*options);
        };
    });
}

}  // namespace vyn::cli
