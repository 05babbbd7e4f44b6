#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include <pybind11/pybind11.h>

#include "core/task.h"
#include "process/point/session.h"
#include "process/report/run_report.h"

namespace vyn::python {

/// A session of its own with what its tasks found out.
class PointSession {
  public:
    Session get() { return point_.get(); }
    const std::shared_ptr<RunReport>& report() const { return report_; }
    /// The report as a dictionary. Raises StateError while the session works.
    pybind11::object told();

    /// Runs tasks as `run_interruptibly` does.
    /// Raises what leaves them, AlgoError when they fail without a word, and StateError while
    /// another thread has the session work. Pictures that could not be aligned are the outcome
    /// `done_with_errors`.
    TaskOutcome run(const std::shared_ptr<Job>& job, const pybind11::object& callback);
    TaskOutcome run(std::unique_ptr<Task> task, const pybind11::object& callback);

    /// For who works on the session otherwise: while it lives nobody else can. Raises StateError.
    class Turn {
      public:
        explicit Turn(PointSession& session);
        ~Turn() { busy_ = false; }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

      private:
        std::atomic<bool>& busy_;
    };

  private:
    OwnSession point_;
    std::shared_ptr<RunReport> report_ = std::make_shared<RunReport>();
    TaskOutcome outcome_ = TaskOutcome::idle;
    std::string failure_;
    std::vector<StageTime> stages_;
    std::atomic<bool> busy_{false};
};

}  // namespace vyn::python
