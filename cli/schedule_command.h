#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "schedule/figures.h"
#include "schedule/schedule.h"

namespace vyn::cli {

/// What names a schedule on the command line.
struct ScheduleArguments {
    std::string file;
    std::string base;
    std::string results;
    std::vector<std::string> limits;
};

void add_schedule(CLI::App& app, ScheduleArguments& arguments);
void add_limits(CLI::App& app, ScheduleArguments& arguments);

/// Reads it, with its problems. Raises FileError.
Schedule read_schedule(const ScheduleArguments& arguments);
/// Reads it; prints its problems and raises FileError when there are any.
Schedule read_sound_schedule(const ScheduleArguments& arguments);
/// Raises UsageError.
FigureLimits limits_of(const ScheduleArguments& arguments);

/// The arguments that name base and results, as a shell reads them.
std::string named_places(const ScheduleArguments& arguments);

/// The sub-commands of `schedule`; each leaves its work in `work`.
void add_schedule_new(CLI::App& schedule, Work& work);
void add_schedule_check(CLI::App& schedule, Work& work);
void add_schedule_run(CLI::App& schedule, const GlobalOptions& global, Work& work);
void add_schedule_status(CLI::App& schedule, Work& work);
void add_schedule_summary(CLI::App& schedule, Work& work);
void add_schedule_calibrate(CLI::App& schedule, Work& work);
void add_schedule_slurm(CLI::App& schedule, Work& work);
void add_schedule_parallel(CLI::App& schedule, Work& work);

}  // namespace vyn::cli
