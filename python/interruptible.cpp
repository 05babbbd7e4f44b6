#include "python/interruptible.h"

#include <chrono>
#include <future>
#include <thread>

#include "python/texts.h"

namespace vyn::python {

namespace py = pybind11;

namespace {

/// Hands on what the context shows when it has changed.
class Teller {
  public:
    explicit Teller(const py::object& callback) : callback_(callback) {}
    void tell(const TaskContext& context) {
        if (callback_.is_none()) return;
        const TaskContext::Snapshot now = context.snapshot();
        if (now.status == told_.status && now.fraction == told_.fraction) return;
        told_ = now;
        callback_(text(now.status), now.fraction);
    }

  private:
    const py::object& callback_;
    TaskContext::Snapshot told_;
};

}  // namespace

void run_interruptibly(const py::object& callback, const std::function<void(TaskContext&)>& work) {
    constexpr std::chrono::milliseconds poll(50);
    TaskContext context;
    std::promise<void> promise;
    std::future<void> ended = promise.get_future();
    std::thread thread([&] {
        try {
            work(context);
            promise.set_value();
        } catch (...) {
            promise.set_exception(std::current_exception());
        }
    });
    Teller teller(callback);
    std::optional<py::error_already_set> stopped;
    const auto has_ended = [&] {
        const py::gil_scoped_release others_run;
        return ended.wait_for(poll) == std::future_status::ready;
    };
    while (!has_ended()) {
        if (stopped) continue;
        try {
            if (PyErr_CheckSignals() != 0) throw py::error_already_set();
            teller.tell(context);
        } catch (const py::error_already_set& error) {
            stopped = error;
            context.abort();
        }
    }
    thread.join();
    if (stopped) throw py::error_already_set(*stopped);
    ended.get();
    teller.tell(context);
}

}  // namespace vyn::python
