#include <filesystem>
#include <memory>

#include "cli/console.h"
#include "cli/schedule_command.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "schedule/new_schedule.h"

namespace vyn::cli {

namespace fs = std::filesystem;

namespace {

struct NewOptions {
    std::string folder;
    std::string table;
    std::string base;
    std::vector<std::string> patterns;
    bool force = false;
};

ExitStatus make(const NewOptions& options) {
    check_output(options.table, options.force ? Overwriting::allowed : Overwriting::refused);
    const fs::path relative_to =
        fs::absolute(options.base.empty() ? options.table : options.base).parent_path();
    NewSchedule made;
    try {
        made = schedule_from_files(options.folder, options.patterns, relative_to);
    } catch (const AlgoError& error) {
        throw UsageError("--pattern: " + error.detail);
    }
    write_file(options.table, csv_text(made.table));
    for (const std::string& remark : made.remarks)
        console().line(remark);
    print(options.table + ": " + std::to_string(made.table.rows.size()) + " points\n");
    return ExitStatus::done;
}

}  // namespace

void add_schedule_new(CLI::App& schedule, Work& work) {
    const auto options = std::make_shared<NewOptions>();
    CLI::App* app = schedule.add_subcommand("new", "make a table from a folder of pictures");
    app->add_option("FOLDER", options->folder, "folder with the pictures, in it or below")
        ->required()
        ->check(CLI::ExistingDirectory);
    app->add_option("TABLE", options->table, "table to write (.csv)")->required();
    app->add_option("--pattern", options->patterns,
                    "SETTING=NAME: how the files of a setting are named below the folder, such as "
                    "wind_on_file={run}/{point}_on.tif; what stands in braces becomes a column, "
                    "and files that agree in it are one point's")
        ->required()
        ->take_all()
        ->allow_extra_args(false);
    app->add_option("--base", options->base,
                    "project that the table will stand on; names of files are written relative to "
                    "its folder");
    app->add_flag("--force", options->force, "replace an existing table");
    app->callback([options, &work] { work = [options] { return make(*options); }; });
}

}  // namespace vyn::cli
