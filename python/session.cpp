#include "python/session.h"

#include <nlohmann/json.hpp>

#include "core/errors.h"
#include "process/report/run_report_json.h"
#include "python/interruptible.h"
#include "python/texts.h"

namespace vyn::python {

namespace py = pybind11;

PointSession::Turn::Turn(PointSession& session) : busy_(session.busy_) {
    if (busy_.exchange(true))
        throw StateError("State error!", "another thread has this session work");
}

TaskOutcome PointSession::run(const std::shared_ptr<Job>& job, const py::object& callback) {
    const Turn turn(*this);
    try {
        run_interruptibly(callback, [&](TaskContext& context) {
            job->run(context);
            for (StageTime& stage : context.finish_stages())
                stages_.push_back(std::move(stage));
        });
    } catch (...) {
        outcome_ = job->outcome();
        failure_ = job->failure();
        throw;
    }
    outcome_ = job->outcome();
    failure_ = outcome_ == TaskOutcome::done_with_errors ? unaligned_text(*report_) : "";
    if (outcome_ == TaskOutcome::failed) {
        failure_ = report_->warnings.empty() ? "" : report_->warnings.back().text;
        throw AlgoError("The computation failed", failure_);
    }
    return outcome_;
}

TaskOutcome PointSession::run(std::unique_ptr<Task> task, const py::object& callback) {
    const auto job = std::make_shared<Job>();
    job->append(std::move(task));
    return run(job, callback);
}

py::object PointSession::told() {
    const Turn turn(*this);
    return object_of(to_json(*report_, point_.data, point_.images, outcome_, failure_, stages_));
}

}  // namespace vyn::python
