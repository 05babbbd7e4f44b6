#pragma once

#include <string>

#include "schedule/schedule.h"

namespace vyn {

/// What a cluster is asked for.
struct ClusterRequest {
    std::string program;         ///< full path of vynlite-batch on the nodes
    std::string arguments;       ///< further ones of "schedule run", as a shell reads them
    std::string base_arguments;  ///< those that name base and results, for the summary, too
    int points_per_task = 1;
    int cores = 1;                  ///< of a task
    std::string partition;          ///< empty: the cluster's own
    std::string time = "01:00:00";  ///< at most, of a task
    std::string memory = "4G";
};

/// How many tasks the array then has.
int task_count(const Schedule& schedule, const ClusterRequest& request);

/// A Slurm job array that computes the schedule, each task its part, and, as a second script, the
/// job that sums up what it left behind.
std::string slurm_array_script(const Schedule& schedule, const ClusterRequest& request);
std::string slurm_summary_script(const Schedule& schedule, const ClusterRequest& request);

/// The line that computes the schedule by GNU parallel, on this computer or others by its options.
std::string parallel_line(const Schedule& schedule, const ClusterRequest& request);

/// A text as one word of a shell.
std::string shell_quoted(const std::string& text);

}  // namespace vyn
