#pragma once

#include <memory>

#include "core/progress.h"

namespace vyn {

/// Calls `body(y0, y1)` for blocks of rows that cover 0..rows once, from several threads. The
/// blocks depend on `rows` and `block` only, never on the number of threads. Polls abort before
/// each block and raises Aborted; reports the share of finished blocks, one report at a
/// time. The first exception of a body is rethrown here. Small work (one block) runs on the calling
/// thread.
template <class Body>
void parallel_rows(int rows, int block, Progress& progress, const Body& body);

/// Limits the number of threads of all parallel work for the lifetime of the object; 0 = all cores.
/// With 1 no other thread is started.
class ThreadLimit {
  public:
    explicit ThreadLimit(int threads);
    ~ThreadLimit();
    ThreadLimit(const ThreadLimit&) = delete;
    ThreadLimit& operator=(const ThreadLimit&) = delete;

  private:
    struct Control;
    std::unique_ptr<Control> control_;
};

/// Ends the threads that parallel work left waiting for more, those of libraries included: before a
/// process is copied, since only the calling thread lives on in a copy. True when this is the
/// process's only thread then.
bool end_idle_threads();

}  // namespace vyn

#include "api/parallel_rows.h"
