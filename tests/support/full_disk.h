#pragma once

#include <csignal>

#include <sys/resource.h>

namespace vyn::test {

/// For its lifetime no file can grow beyond so many bytes: to a writer, a full disk.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit small{bytes, old_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old_{};
};

}  // namespace vyn::test
