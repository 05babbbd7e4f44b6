#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>

#include "core/log.h"

namespace vyn {

/// Writes every line of the log, of every level, to the end of a file for its lifetime. A file that
/// grew beyond its bound becomes "NAME.1" in the place of an older one. A file that cannot be
/// written is given up silently: logging never fails.
class LogFile {
  public:
    explicit LogFile(std::filesystem::path file, std::uintmax_t most_bytes = 4u << 20);
    const std::filesystem::path& path() const { return file_; }

  private:
    void open();
    void write(const LogLine& line);

    std::filesystem::path file_;
    std::uintmax_t most_bytes_;
    std::uintmax_t bytes_ = 0;
    std::ofstream stream_;
    ScopedLogSink sink_;  // last: nothing is written before or after
};

}  // namespace vyn
