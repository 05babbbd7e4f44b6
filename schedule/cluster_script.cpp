#include "schedule/cluster_script.h"

#include <algorithm>

namespace vyn {

namespace {

std::string head(const Schedule& schedule, const ClusterRequest& request, const std::string& job) {
    std::string name = schedule.file.stem().string();
    std::ranges::replace_if(
        name, [](char c) { return c == ' ' || static_cast<unsigned char>(c) < 0x20; }, '_');
    std::string text = "#!/bin/sh\n#SBATCH --job-name=" + name + job + "\n";
    if (!request.partition.empty()) text += "#SBATCH --partition=" + request.partition + "\n";
    return text + "#SBATCH --time=" + request.time + "\n#SBATCH --mem=" + request.memory + "\n";
}

std::string command(const Schedule& schedule, const ClusterRequest& request,
                    const std::string& name) {
    return shell_quoted(request.program) + " --quiet schedule " + name + " " +
           shell_quoted(schedule.file.string()) + request.base_arguments;
}

}  // namespace

std::string shell_quoted(const std::string& text) {
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./=,:+-";
    if (!text.empty() && text.find_first_not_of(plain) == std::string::npos) return text;
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string(R"('\'')") : std::string(1, c);
    return quoted + "'";
}

int task_count(const Schedule& schedule, const ClusterRequest& request) {
    const auto points =
        static_cast<int>(std::ranges::count(schedule.points, false, &SchedulePoint::skip));
    const int each = std::max(1, request.points_per_task);
    return std::max(1, (points + each - 1) / each);
}

std::string slurm_array_script(const Schedule& schedule, const ClusterRequest& request) {
    const std::string tasks = std::to_string(task_count(schedule, request));
    return head(schedule, request, "") + "#SBATCH --array=1-" + tasks +
           "\n#SBATCH --cpus-per-task=" + std::to_string(request.cores) +
           "\n#SBATCH --output=" + shell_quoted((schedule.results / "slurm-%A_%a.log").string()) +
           "\n" + command(schedule, request, "run") + " --resume --jobs " +
           std::to_string(std::min(request.cores, std::max(1, request.points_per_task))) +
           " --shard \"$SLURM_ARRAY_TASK_ID\"/" + tasks + request.arguments + "\n";
}

std::string slurm_summary_script(const Schedule& schedule, const ClusterRequest& request) {
    return head(schedule, request, "_summary") +
           "#SBATCH --output=" + shell_quoted((schedule.results / "slurm-%j.log").string()) + "\n" +
           command(schedule, request, "summary") + "\n";
}

std::string parallel_line(const Schedule& schedule, const ClusterRequest& request) {
    const std::string tasks = std::to_string(task_count(schedule, request));
    return "seq " + tasks + " | parallel --jobs 100% --halt never " +
           shell_quoted(command(schedule, request, "run") + " --resume --jobs 1 --threads 1" +
                        " --shard {}/" + tasks + request.arguments) +
           "\n";
}

}  // namespace vyn
