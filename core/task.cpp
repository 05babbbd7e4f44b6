#include "core/task.h"

#include <algorithm>
#include <new>

#include "core/errors.h"
#include "core/log.h"
#include "core/messages.h"

namespace vyn {

void TaskContext::status(std::string_view text) {
    status(text, text);
}

void TaskContext::status(std::string_view shown, std::string_view logged) {
    {
        const std::lock_guard lock(mutex_);
        if (!in_stage_ || state_.status != shown) {
            end_stage();
            in_stage_ = true;
            stage_start_ = std::chrono::steady_clock::now();
            state_ = {std::string(shown), 0.0};
        }
    }
    get_log().write(LogLevel::progress, logged);
}

void TaskContext::fraction(double done) {
    const std::lock_guard lock(mutex_);
    state_.fraction = done > 0 ? std::min(done, 1.0) : 0.0;
}

void TaskContext::message(const std::string& text) {
    vyn::message(text.c_str());
}

bool TaskContext::question(const std::string& text) {
    return vyn::question(text.c_str());
}

TaskContext::Snapshot TaskContext::snapshot() const {
    const std::lock_guard lock(mutex_);
    return state_;
}

std::vector<StageTime> TaskContext::finish_stages() {
    const std::lock_guard lock(mutex_);
    end_stage();
    return stages_;
}

void TaskContext::end_stage() {
    if (!in_stage_) return;
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - stage_start_;
    stages_.push_back({state_.status, spent.count()});
    in_stage_ = false;
}

TaskOutcome Job::run(TaskContext& context) {
    outcome_ = TaskOutcome::idle;
    failure_.clear();
    try {
        for (const std::unique_ptr<Task>& task : tasks_) {
            throw_if_aborted(context);
            outcome_ = std::max(outcome_, task->run(context));
            if (outcome_ >= TaskOutcome::failed) break;
        }
    } catch (const Aborted&) {
        outcome_ = TaskOutcome::aborted;
        throw;
    } catch (const std::bad_alloc&) {
        outcome_ = TaskOutcome::failed;
        failure_ = "not enough memory";
        throw;
    } catch (const std::exception& error) {
        outcome_ = TaskOutcome::failed;
        failure_ = error.what();
        throw;
    } catch (...) {
        outcome_ = TaskOutcome::failed;
        failure_ = "unknown exception";
        throw;
    }
    return outcome_;
}

}  // namespace vyn
