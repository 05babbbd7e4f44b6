#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>

#include <sys/wait.h>

#include "cli/console.h"
#include "cli/schedule_command.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "schedule/cluster_script.h"

namespace vyn::cli {

namespace fs = std::filesystem;

namespace {

struct ClusterOptions {
    ScheduleArguments schedule;
    ClusterRequest request;
    bool allow_unaligned = false;
    bool submit = false;
};

ClusterRequest request_of(const ClusterOptions& options) {
    ClusterRequest request = options.request;
    std::error_code failed;
    const fs::path here = fs::read_symlink("/proc/self/exe", failed);
    request.program = failed ? "vynlite-batch" : here.string();
    request.base_arguments = named_places(options.schedule);
    limits_of(options.schedule);  // wrong ones are told here, not by every task
    for (const std::string& limit : options.schedule.limits)
        request.base_arguments += " --limit " + shell_quoted(limit);
    if (options.allow_unaligned) request.arguments += " --allow-unaligned";
    return request;
}

/// Hands a script to Slurm; gives the job's number.
std::string submit(const fs::path& script, const std::string& arguments) {
    const std::string command =
        "sbatch --parsable " + arguments + shell_quoted(script.string()) + " 2>&1";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string answer;
    std::array<char, 256> bytes{};
    while (pipe && std::fgets(bytes.data(), bytes.size(), pipe.get()))
        answer += bytes.data();
    const std::string job(trim(answer.substr(0, answer.find(';'))));
    if (!parse_int(job))
        throw FileError("File error!",
                        script.string() + " was not taken by sbatch: " + std::string(trim(answer)));
    return job;
}

ExitStatus slurm(const ClusterOptions& options) {
    const Schedule schedule = read_sound_schedule(options.schedule);
    const ClusterRequest request = request_of(options);
    const std::string array = slurm_array_script(schedule, request);
    const std::string summary = slurm_summary_script(schedule, request);
    if (!options.submit) {
        print(array + "\n# Afterwards, by sbatch --dependency=afterany:JOB:\n" + summary);
        return ExitStatus::done;
    }
    std::error_code failed;
    fs::create_directories(schedule.results, failed);
    const fs::path array_file = schedule.results / "array.sh";
    const fs::path summary_file = schedule.results / "summary.sh";
    write_file(array_file, array);
    write_file(summary_file, summary);
    const std::string job = submit(array_file, "");
    const std::string last = submit(summary_file, "--dependency=afterany:" + job + " ");
    print("submitted " + std::to_string(task_count(schedule, request)) + " tasks as job " + job +
          ", the summary as job " + last + "\n");
    return ExitStatus::done;
}

ExitStatus parallel(const ClusterOptions& options) {
    print(parallel_line(read_sound_schedule(options.schedule), request_of(options)));
    return ExitStatus::done;
}

void add_common(CLI::App& app, ClusterOptions& options) {
    add_schedule(app, options.schedule);
    add_limits(app, options.schedule);
    app.add_flag("--allow-unaligned", options.allow_unaligned,
                 "save results even when the images could not be aligned, or poorly");
    app.add_option("--points-per-task", options.request.points_per_task,
                   "so many points, one after another, in one task")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
}

}  // namespace

void add_schedule_slurm(CLI::App& schedule, Work& work) {
    const auto options = std::make_shared<ClusterOptions>();
    CLI::App* app = schedule.add_subcommand(
        "slurm", "print a Slurm job array that computes the points, or submit it");
    add_common(*app, *options);
    ClusterRequest& request = options->request;
    app->add_option("--cores", request.cores, "cores of a task; points of it run side by side")
        ->check(CLI::Range(1, 1024))
        ->capture_default_str();
    app->add_option("--partition", request.partition, "the cluster's own when not given");
    app->add_option("--time", request.time, "at most, of a task")->capture_default_str();
    app->add_option("--memory", request.memory, "of a task")->capture_default_str();
    app->add_flag("--submit", options->submit,
                  "hand the array to sbatch, and a job after it that writes the summary");
    app->callback([options, &work] { work = [options] { return slurm(*options); }; });
}

void add_schedule_parallel(CLI::App& schedule, Work& work) {
    const auto options = std::make_shared<ClusterOptions>();
    CLI::App* app = schedule.add_subcommand(
        "parallel", "print the line that computes the points by GNU parallel");
    add_common(*app, *options);
    app->callback([options, &work] { work = [options] { return parallel(*options); }; });
}

}  // namespace vyn::cli
