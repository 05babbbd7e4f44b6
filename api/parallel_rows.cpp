#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>

#include "api/parallel.h"

namespace vyn::detail {

namespace {

/// One call of parallel_rows. The scheduler's own synchronisation is inside a library that race
/// detectors do not see into, so the order of fork, blocks and join is also kept by two atomics
/// here: blocks acquire what `fork` released, the join acquires what each block released in
/// `finished_`.
class RowBlockRun {
  public:
    RowBlockRun(int rows, int block, Progress& progress, RowBlockBody body)
        : rows_(rows),
          block_(std::max(block, 1)),
          blocks_((rows - 1) / block_ + 1),
          progress_(progress),
          body_(body) {}

    void run() {
        forked_.store(true, std::memory_order_release);
        if (blocks_ == 1)
            run_block(0);
        else
            for_each_index(blocks_, this, [](void* self, int index) {
                static_cast<RowBlockRun*>(self)->run_block(index);
            });
        (void)finished_.load(std::memory_order_acquire);
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    void run_block(int index) {
        (void)forked_.load(std::memory_order_acquire);
        if (!stopped_.load(std::memory_order_relaxed)) {
            try {
                throw_if_aborted(progress_);
                const int y0 = index * block_;
                body_(y0, std::min(rows_ - y0, block_) + y0);
                report_block();
            } catch (...) {
                keep_first_failure();
            }
        }
        finished_.fetch_add(1, std::memory_order_acq_rel);
    }

    void report_block() {
        const std::lock_guard lock(mutex_);
        progress_.fraction(static_cast<double>(++reported_) / blocks_);
    }

    void keep_first_failure() {
        const std::lock_guard lock(mutex_);
        if (!failure_) failure_ = std::current_exception();
        stopped_.store(true, std::memory_order_relaxed);
    }

    const int rows_;
    const int block_;
    const int blocks_;
    Progress& progress_;
    const RowBlockBody body_;

    std::atomic<bool> forked_{false};
    std::atomic<bool> stopped_{false};
    std::atomic<int> finished_{0};
    std::mutex mutex_;
    int reported_ = 0;
    std::exception_ptr failure_;
};

}  // namespace

void run_row_blocks(int rows, int block, Progress& progress, RowBlockBody body) {
    if (rows > 0) RowBlockRun(rows, block, progress, body).run();
}

}  // namespace vyn::detail
