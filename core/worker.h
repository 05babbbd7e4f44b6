#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "core/task.h"
#include "core/threads.h"

namespace vyn {

/// Runs tasks one at a time on its own thread. A task's failure ends in the log, never
/// the program.
class Worker {
  public:
    Worker();
    /// Asks a running task to abort, then waits for the thread.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Starts a task with the context that it shall talk through. Raises StateError while another
    /// one runs. Both stay alive until the task has ended; a task that ended may be followed by the
    /// next as soon as `wait_done` has told so.
    void post(std::shared_ptr<Task> task, std::shared_ptr<TaskContext> context);

    /// True when the task posted last ended within the time (milliseconds).
    bool wait_done(std::uint32_t timeout_ms);

    /// Held by the worker for exactly the run of one task.
    Mutex& task_mutex() { return task_mutex_; }

  private:
    /// A posted task, until it has ended.
    struct Posted {
        std::shared_ptr<Task> task;
        std::shared_ptr<TaskContext> context;
    };
    void loop();
    void run_task();
    Posted posted() const;

    Event start_{Event::Reset::automatic};
    Event stop_;
    Event done_;
    Mutex task_mutex_;
    mutable std::mutex posted_mutex_;
    Posted posted_;
    std::optional<Thread> thread_;
};

/// True while no task runs anywhere in the program.
std::atomic<bool>& idle_flag();

}  // namespace vyn
