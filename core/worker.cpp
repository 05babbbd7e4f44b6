#include "core/worker.h"

#include <array>
#include <chrono>

#include "core/errors.h"
#include "core/log.h"

namespace vyn {

namespace {

/// The worker announces the end of a task before it is idle; this covers the time between.
bool wait_idle() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (!idle_flag()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    return true;
}

/// Runs a task; whatever leaves it ends in the log, an error with one line of level failure.
void run_logged(Task& task, TaskContext& context) {
    Log& log = get_log();
    try {
        task.run(context);
    } catch (const Aborted&) {
        log.write(LogLevel::information, "Aborted");
    } catch (const SystemError& error) {
        log.write(LogLevel::failure, "Worker thread system Error:" + error.where());
    } catch (const GenericError& error) {
        log.write(LogLevel::failure, "Worker thread generic Error " + error.where());
    } catch (const std::exception& error) {
        log.write(LogLevel::failure, "Worker thread unknown exception");
        log.write(LogLevel::error, error.what());
    } catch (...) {
        log.write(LogLevel::failure, "Worker thread unknown exception");
    }
}

}  // namespace

Worker::Worker() {
    thread_.emplace([this] { loop(); });
}

Worker::~Worker() {
    if (const auto context = posted().context) context->abort();
    stop_.set();
    thread_.reset();
}

void Worker::post(std::shared_ptr<Task> task, std::shared_ptr<TaskContext> context) {
    if (posted().task || !wait_idle()) throw StateError("State error!", "a task is running");
    done_.reset();
    {
        const std::lock_guard lock(posted_mutex_);
        posted_ = {std::move(task), std::move(context)};
    }
    idle_flag() = false;
    start_.set();
}

bool Worker::wait_done(std::uint32_t timeout_ms) {
    return wait(done_, timeout_ms);
}

Worker::Posted Worker::posted() const {
    const std::lock_guard lock(posted_mutex_);
    return posted_;
}

void Worker::loop() {
    constexpr std::size_t stop_signalled = 2;
    const std::array<Waitable*, 2> signals{&start_, &stop_};
    while (wait(signals, infinite_timeout, WaitFor::any) != stop_signalled) {
        idle_flag() = false;
        done_.reset();
        task_mutex_.lock();
        run_task();
        done_.set();
        task_mutex_.unlock();
        idle_flag() = true;
    }
}

void Worker::run_task() {
    Posted current = posted();
    if (current.task) run_logged(*current.task, *current.context);
    const std::lock_guard lock(posted_mutex_);
    posted_ = {};
}

std::atomic<bool>& idle_flag() {
    static std::atomic<bool> idle{true};
    return idle;
}

}  // namespace vyn
