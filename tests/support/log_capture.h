#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "core/log.h"

namespace vyn::test {

/// The log lines written during its lifetime, as "level text", from any thread.
class LogCapture {
  public:
    explicit LogCapture(LogLevel highest_level = LogLevel::progress)
        : highest_level_(highest_level) {}
    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

  private:
    const LogLevel highest_level_;
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    ScopedLogSink sink_{
        [this](const LogLine& line) {
            const std::lock_guard lock(mutex_);
            if (line.level <= highest_level_)
                lines_.push_back(std::to_string(number(line.level)) + " " + line.text);
        },
        LogManager::Filter::every_level};
};

}  // namespace vyn::test
