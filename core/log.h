#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace vyn {

/// How much a line matters; its number is what log files show.
enum class LogLevel {
    fatal = 0,
    failure = 1,  ///< an error that ended a task or a command
    error = 2,    ///< any error, as it arises
    information = 3,
    progress = 4
};

constexpr int number(LogLevel level) {
    return static_cast<int>(level);
}

struct LogLine {
    LogLevel level = LogLevel::fatal;
    std::string text;
    std::string time;  ///< local time of writing, "HH:MM:SS"
};

using LogSink = std::function<void(const LogLine&)>;

/// Keeps the log: every line of every level, in order, from any thread.
///
/// Sinks (standard error, the log window, a log file) get each line as it is written, from the
/// writing thread, one at a time. The level filters only the sinks that ask for it.
///
/// A sink must not attach or detach sinks, nor wait for another thread that writes to the log. A
/// line written from inside a sink (an error raised there) is kept but handed to no sink, and an
/// exception that leaves a sink ends there: logging never fails.
class LogManager {
  public:
    enum class Filter { by_level, every_level };
    using SinkId = int;

    void write(LogLevel level, std::string_view text);

    /// Highest level that filtered sinks receive; progress at first.
    void set_level(LogLevel level);
    LogLevel level() const;

    SinkId attach(LogSink sink, Filter filter);
    void detach(SinkId id);

    /// The lines written since the last call; each line is handed over once. When nobody asks for
    /// long, only the newest 100000 are kept, and a first line tells how many older ones are gone.
    std::vector<LogLine> take_new_lines();

  private:
    struct Sink {
        SinkId id;
        LogSink receive;
        Filter filter;
    };

    void keep(LogLine line);
    void hand_to_sinks(const LogLine& line);

    mutable std::recursive_mutex mutex_;  ///< recursive: a sink may log or read the log
    bool in_sink_ = false;
    LogLevel level_ = LogLevel::progress;
    SinkId next_id_ = 1;
    std::vector<Sink> sinks_;
    std::deque<LogLine> pending_;
    std::size_t dropped_ = 0;
};

/// What code writes to: a thin front of the log manager.
class Log {
  public:
    explicit Log(LogManager& manager) : manager_(&manager) {}
    void write(LogLevel level, std::string_view text) { manager_->write(level, text); }

  private:
    LogManager* manager_;
};

/// The program's one log and its manager.
LogManager& get_log_mgr();
Log& get_log();

/// Attaches a sink for the lifetime of the object.
class ScopedLogSink {
  public:
    ScopedLogSink(LogSink sink, LogManager::Filter filter)
        : id_(get_log_mgr().attach(std::move(sink), filter)) {}
    ~ScopedLogSink() { get_log_mgr().detach(id_); }
    ScopedLogSink(const ScopedLogSink&) = delete;
    ScopedLogSink& operator=(const ScopedLogSink&) = delete;

  private:
    LogManager::SinkId id_;
};

}  // namespace vyn
