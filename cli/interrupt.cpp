#include "cli/interrupt.h"

#include <array>
#include <atomic>
#include <csignal>

namespace vyn::cli {

namespace {

constexpr std::array signals{SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> interrupt_requested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void mark_interrupt(int signal_number) {
    interrupt_requested.store(true);
    std::signal(signal_number, SIG_DFL);
}

}  // namespace

InterruptGuard::InterruptGuard() {
    interrupt_requested.store(false);
    for (const int signal_number : signals)
        std::signal(signal_number, mark_interrupt);
}

InterruptGuard::~InterruptGuard() {
    for (const int signal_number : signals)
        std::signal(signal_number, SIG_DFL);
}

bool InterruptGuard::requested() {
    return interrupt_requested.load();
}

}  // namespace vyn::cli
