#include "core/log.h"

#include <ctime>
#include <iterator>

#include "core/quotes.h"

namespace vyn {

namespace {

constexpr std::size_t most_pending_lines = 100'000;
constexpr std::size_t longest_line = 1024;

std::string local_time() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[16];
    return {text, std::strftime(text, sizeof text, "%H:%M:%S", &parts)};
}

}  // namespace

void LogManager::write(LogLevel level, std::string_view text) {
    const LogLine line{level, shortened(text, longest_line), local_time()};
    const std::lock_guard lock(mutex_);
    keep(line);
    if (!in_sink_) hand_to_sinks(line);
}

void LogManager::keep(LogLine line) {
    if (pending_.size() == most_pending_lines) {
        pending_.pop_front();
        ++dropped_;
    }
    pending_.push_back(std::move(line));
}

void LogManager::hand_to_sinks(const LogLine& line) {
    in_sink_ = true;
    for (const Sink& sink : sinks_) {
        if (sink.filter == Filter::by_level && line.level > level_) continue;
        try {
            sink.receive(line);
        } catch (...) {  // NOLINT(bugprone-empty-catch): there is nowhere left to report it
        }
    }
    in_sink_ = false;
}

void LogManager::set_level(LogLevel level) {
    const std::lock_guard lock(mutex_);
    level_ = level;
}

LogLevel LogManager::level() const {
    const std::lock_guard lock(mutex_);
    return level_;
}

LogManager::SinkId LogManager::attach(LogSink sink, Filter filter) {
    const std::lock_guard lock(mutex_);
    sinks_.push_back({next_id_, std::move(sink), filter});
    return next_id_++;
}

void LogManager::detach(SinkId id) {
    const std::lock_guard lock(mutex_);
    std::erase_if(sinks_, [id](const Sink& sink) { return sink.id == id; });
}

std::vector<LogLine> LogManager::take_new_lines() {
    const std::lock_guard lock(mutex_);
    std::vector<LogLine> lines;
    if (dropped_ > 0)
        lines.push_back({LogLevel::information,
                         std::to_string(dropped_) + " older lines were dropped",
                         pending_.front().time});
    lines.insert(lines.end(), std::make_move_iterator(pending_.begin()),
                 std::make_move_iterator(pending_.end()));
    pending_.clear();
    dropped_ = 0;
    return lines;
}

LogManager& get_log_mgr() {
    static LogManager manager;
    return manager;
}

Log& get_log() {
    static Log log(get_log_mgr());
    return log;
}

}  // namespace vyn
