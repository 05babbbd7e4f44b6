#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/interrupt.h"
#include "core/task.h"
#include "core/worker.h"
#include "process/project/project_tasks.h"

namespace vyn::cli {

/// Runs jobs on the worker and shows how they get on.
class Runner {
  public:
    /// Errors of the job come back as the text of `failure`.
    TaskOutcome run(const std::shared_ptr<Job>& job);

    const std::string& failure() const { return failure_; }
    std::vector<StageTime> stages() { return context_->finish_stages(); }

  private:
    static constexpr std::uint32_t poll_ms = 50;

    /// A bar on a terminal, else a line for each new status.
    void show();

    std::shared_ptr<TaskContext> context_ = std::make_shared<TaskContext>();
    std::string shown_;
    std::string failure_;
    InterruptGuard interrupt_;
    Worker worker_;  // last: its thread ends before what it uses
};

/// A job of one task.
std::shared_ptr<Job> job_of(std::unique_ptr<Task> task);

/// How to open a project with "KEY=VALUE" settings in the place of its own. Raises UsageError for a
/// setting that the key table does not allow. Warnings go into the report, too, where there is one.
ReadProject read_request(const std::string& project, const std::vector<std::string>& settings,
                         std::shared_ptr<RunReport> report = {});

}  // namespace vyn::cli
