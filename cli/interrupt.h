#pragma once

#include "core/progress.h"

namespace vyn::cli {

/// While it lives, the first SIGINT, SIGTERM or SIGHUP only sets a mark; a second one of the same
/// kind ends the program at once. One object at a time.
class InterruptGuard {
  public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

    static bool requested();
};

/// Stops a computation when the user interrupts the program.
class InterruptProgress : public Progress {
  public:
    bool aborted() const override { return InterruptGuard::requested(); }

  private:
    InterruptGuard guard_;
};

}  // namespace vyn::cli
