#include "cli/console.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "core/errors.h"
#include "core/numbers.h"
#include "core/temporary_files.h"

namespace vyn::cli {

namespace {

constexpr int bar_width = 30;

std::string one_line(std::string_view text) {
    std::string line(trim(text));
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

/// True for the trace that an error leaves when it is made or caught: "text in:file:line", "text at
/// file:line".
bool is_trace(std::string_view line) {
    const std::size_t last_blank = line.rfind(' ');
    const std::size_t colon = line.rfind(':');
    if (last_blank == std::string_view::npos || colon == std::string_view::npos ||
        colon < last_blank || !parse_int(line.substr(colon + 1)))
        return false;
    return line.substr(last_blank + 1).starts_with("in:") ||
           line.substr(0, last_blank).ends_with(" at");
}

}  // namespace

Console::Console() : on_terminal_(isatty(STDERR_FILENO) == 1) {
    sink_ = get_log_mgr().attach([this](const LogLine& line) { receive(line); },
                                 LogManager::Filter::by_level);
    get_log_mgr().set_level(LogLevel::information);
}

Console::~Console() {
    get_log_mgr().detach(sink_);
}

void Console::set_verbosity(GlobalOptions::Verbosity verbosity) {
    using Verbosity = GlobalOptions::Verbosity;
    {
        const std::lock_guard lock(mutex_);
        verbosity_ = verbosity;
    }
    get_log_mgr().set_level(verbosity == Verbosity::quiet     ? LogLevel::error
                            : verbosity == Verbosity::verbose ? LogLevel::progress
                                                              : LogLevel::information);
}

void Console::receive(const LogLine& line) {
    const std::lock_guard lock(mutex_);
    if (line.level <= LogLevel::error)
        held_back_.push_back(one_line(line.text));
    else
        put(one_line(line.text));
}

void Console::error(std::string_view text) {
    const std::lock_guard lock(mutex_);
    const std::string line = one_line(text);
    reported_ += line + "\n";
    put("vynlite-batch: " + line);
}

void Console::line(std::string_view text) {
    const std::lock_guard lock(mutex_);
    if (verbosity_ != GlobalOptions::Verbosity::quiet) put(text);
}

void Console::bar(std::string_view status, double done) {
    const std::lock_guard lock(mutex_);
    if (!on_terminal_ || verbosity_ == GlobalOptions::Verbosity::quiet) return;
    clear_bar();
    const auto filled = static_cast<std::size_t>(std::clamp(done, 0.0, 1.0) * bar_width);
    const std::string picture = "[" + std::string(filled, '#') +
                                std::string(bar_width - filled, ' ') + "] " + one_line(status);
    std::fputs(picture.c_str(), stderr);
    bar_shown_ = true;
}

void Console::finish() {
    const std::lock_guard lock(mutex_);
    clear_bar();
    for (const std::string& line : held_back_) {
        // An error of a temporary file was told as that of its target.
        const bool wanted = verbosity_ == GlobalOptions::Verbosity::verbose ||
                            (!is_trace(line) && !names_temporary(line));
        if (wanted && reported_.find(line) == std::string::npos) put(line);
    }
    held_back_.clear();
}

void Console::put(std::string_view text) {
    clear_bar();
    std::fputs((std::string(text) + "\n").c_str(), stderr);
}

void Console::clear_bar() {
    if (bar_shown_) std::fputs("\r\x1b[K", stderr);
    bar_shown_ = false;
}

Console& console() {
    static Console instance;
    return instance;
}

void prepare_standard_streams() {
    for (const int signal_number : {SIGPIPE, SIGXFSZ})
        std::signal(signal_number, SIG_IGN);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) != -1 || errno != EBADF) continue;
        // The lowest free number is this stream's. Opened the wrong way round, its use fails.
        const int mode = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", mode) != stream) _exit(static_cast<int>(ExitStatus::failed));
    }
}

void print(std::string_view text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!written || std::fflush(stdout) != 0)
        throw FileError("Error writing file",
                        std::string("standard output: ") + std::strerror(errno));
}

}  // namespace vyn::cli
