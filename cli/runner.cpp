#include "cli/runner.h"

#include "cli/console.h"
#include "cli/settings.h"
#include "core/data_set.h"

namespace vyn::cli {

TaskOutcome Runner::run(const std::shared_ptr<Job>& job) {
    worker_.post(job, context_);
    while (!worker_.wait_done(poll_ms)) {
        if (InterruptGuard::requested()) context_->abort();
        show();
    }
    show();
    failure_ = job->failure();
    return job->outcome();
}

void Runner::show() {
    const TaskContext::Snapshot now = context_->snapshot();
    if (console().on_terminal()) {
        console().bar(now.status, now.fraction);
    } else if (now.status != shown_) {
        console().line(now.status);
    }
    shown_ = now.status;
}

std::shared_ptr<Job> job_of(std::unique_ptr<Task> task) {
    auto job = std::make_shared<Job>();
    job->append(std::move(task));
    return job;
}

ReadProject read_request(const std::string& project, const std::vector<std::string>& settings,
                         std::shared_ptr<RunReport> report) {
    ReadProject request;
    request.report = std::move(report);
    request.file = project;
    simpleNamedDataSet wanted;
    apply_settings(wanted, settings);
    wanted.for_each([&](const std::string& path, const any& value) {
        request.settings.emplace_back(path, value);
    });
    return request;
}

}  // namespace vyn::cli
