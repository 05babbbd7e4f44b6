#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "core/progress.h"

namespace vyn {

/// How a task or job ended. `idle`: there was nothing to do. `done_with_errors`: results were
/// published, but one of them is not what was asked for (an image that could not be aligned).
/// From best to worst.
enum class TaskOutcome { idle, done, done_with_errors, failed, aborted };

/// Wall time of one step of a job.
struct StageTime {
    std::string name;
    double seconds = 0;
};

/// What a running task talks through: status text, progress, abort, messages and questions.
///
/// The worker hands it to the task; whoever watches (busy box, command line) polls `snapshot` from
/// another thread or derives from it.
class TaskContext : public Progress {
  public:
    struct Snapshot {
        std::string status;
        double fraction = 0;
    };

    /// Shows a status text and writes it to the log as progress. A new text starts a new stage:
    /// the time until the next is kept under it.
    void status(std::string_view text);
    /// The same with a line for the log that differs from the text shown.
    void status(std::string_view shown, std::string_view logged);

    void fraction(double done) override;
    bool aborted() const override { return abort_.load(std::memory_order_relaxed); }
    void abort() { abort_.store(true, std::memory_order_relaxed); }

    /// Information and questions to the user; by default those of core/messages.h.
    virtual void message(const std::string& text);
    virtual bool question(const std::string& text);

    Snapshot snapshot() const;

    /// Ends the running stage and gives the times of all stages so far.
    std::vector<StageTime> finish_stages();

  private:
    void end_stage();

    std::atomic<bool> abort_{false};
    mutable std::mutex mutex_;
    Snapshot state_;
    std::vector<StageTime> stages_;
    std::chrono::steady_clock::time_point stage_start_;
    bool in_stage_ = false;
};

/// One computation that runs on the worker thread: reads its settings and inputs, works on copies,
/// publishes its results at its end. Raises errors of the family for failures; Aborted when told
/// to stop, in which case nothing was published.
class Task {
  public:
    virtual ~Task() = default;
    virtual TaskOutcome run(TaskContext& context) = 0;
};

/// Tasks that run one after another as one job. The job stops at its first failed task, and between
/// tasks when its context was told to abort.
class Job final : public Task {
  public:
    void append(std::unique_ptr<Task> task) { tasks_.push_back(std::move(task)); }
    bool empty() const { return tasks_.empty(); }

    /// The worst outcome of its tasks; an error that leaves a task leaves the job too.
    TaskOutcome run(TaskContext& context) override;

    /// How the last run ended; valid once the worker is idle again.
    TaskOutcome outcome() const { return outcome_; }
    /// What stopped it, for the user: the error's text and detail, or empty.
    const std::string& failure() const { return failure_; }

  private:
    std::vector<std::unique_ptr<Task>> tasks_;
    TaskOutcome outcome_ = TaskOutcome::idle;
    std::string failure_;
};

}  // namespace vyn
