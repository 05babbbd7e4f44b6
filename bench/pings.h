#pragma once

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace vyn::bench {

/// Asks the GUI thread every few milliseconds from another thread and keeps how long each answer
/// took, in milliseconds: a late answer is what a user would wait for.
class Pings {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Pings(std::chrono::milliseconds interval = std::chrono::milliseconds(5))
        : interval_(interval), thread_([this] { ask(); }) {}
    std::vector<double> stop() {
        stop_ = true;
        thread_.join();
        QCoreApplication::processEvents();
        const std::lock_guard lock(mutex_);
        return times_;
    }

  private:
    void ask() {
        auto next = Clock::now();
        while (!stop_) {
            const Clock::time_point asked = Clock::now();
            QMetaObject::invokeMethod(
                qApp,
                [this, asked] {
                    const std::chrono::duration<double, std::milli> took = Clock::now() - asked;
                    const std::lock_guard lock(mutex_);
                    times_.push_back(took.count());
                },
                Qt::QueuedConnection);
            std::this_thread::sleep_until(next += interval_);
        }
    }

    const std::chrono::milliseconds interval_;
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    std::vector<double> times_;
    std::thread thread_;
};

}  // namespace vyn::bench
