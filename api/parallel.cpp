// The only file that sees the scheduler. It is compiled without instrumentation against races,
// which would find the scheduler's task objects handed over by means it cannot see;
// parallel_rows.cpp keeps the order of memory on its own.
#include "api/parallel.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <new>
#include <thread>

#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

namespace vyn {

namespace detail {

void for_each_index(int count, void* context, void (*call)(void* context, int index)) {
    using Control = tbb::global_control;
    // Without the scheduler, which keeps threads of its own: who asks for one thread has one.
    if (Control::active_value(Control::max_allowed_parallelism) == 1) {
        for (int index = 0; index < count; ++index)
            call(context, index);
        return;
    }
    tbb::parallel_for(
        0, count, [=](int index) { call(context, index); }, tbb::simple_partitioner());
}

}  // namespace detail

struct ThreadLimit::Control {
    explicit Control(std::size_t threads)
        : control(tbb::global_control::max_allowed_parallelism, threads) {}
    tbb::global_control control;
};

ThreadLimit::ThreadLimit(int threads)
    : control_(std::make_unique<Control>(
          threads > 0 ? static_cast<std::size_t>(threads)
                      : std::max<std::size_t>(1, std::thread::hardware_concurrency()))) {}

ThreadLimit::~ThreadLimit() = default;

bool end_idle_threads() {
    tbb::task_scheduler_handle handle{tbb::attach{}};
    if (!tbb::finalize(handle, std::nothrow)) return false;
    // Each thread of a process has an entry here, and more than this one is too many.
    std::error_code failed;
    const std::filesystem::directory_iterator threads("/proc/self/task", failed);
    return !failed && std::distance(begin(threads), end(threads)) == 1;
}

}  // namespace vyn
