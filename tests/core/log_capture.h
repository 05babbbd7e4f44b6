#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "core/log.h"

namespace vyn::test {

/// The log lines written during its lifetime, as "level text", from any thread.
class LogCapture {
  public:
    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }
    std::vector<std::string> lines_of_level(int level) const {
        const std::string start = std::to_string(level) + " ";
        std::vector<std::string> found;
        for (const std::string& line : lines())
            if (line.starts_with(start)) found.push_back(line);
        return found;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    ScopedLogSink sink_{[this](const LogLine& line) {
                            const std::lock_guard lock(mutex_);
                            lines_.push_back(std::to_string(line.level) + " " + line.text);
                        },
                        LogManager::Filter::every_level};
};

}  // namespace vyn::test
