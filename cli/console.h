#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "cli/commands.h"
#include "core/log.h"

namespace vyn::cli {

/// Standard error: error messages, log lines and the progress bar, from any thread. Lines and bar
/// do not run into each other.
///
/// Log lines above the level of the verbosity are left out. Error lines are held
/// back until the end, because most of them belong to the one error that ends the program and is
/// reported by `error`; `finish` prints those that do not. Traces, which name places in the source,
/// show only when verbose.
class Console {
  public:
    Console();
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void set_verbosity(GlobalOptions::Verbosity verbosity);

    /// Prints "vynlite-batch: " and the text as one line.
    void error(std::string_view text);
    /// Prints a line unless the verbosity is quiet.
    void line(std::string_view text);
    /// Draws a bar (done 0 to 1) that the next line or bar replaces. On anything but a terminal, or
    /// when quiet, nothing.
    void bar(std::string_view status, double done);
    bool on_terminal() const { return on_terminal_; }

    /// Removes the bar and prints the error lines that no `error` has told already.
    void finish();

  private:
    void receive(const LogLine& line);
    void put(std::string_view text);
    void clear_bar();

    std::mutex mutex_;
    GlobalOptions::Verbosity verbosity_ = GlobalOptions::Verbosity::normal;
    bool on_terminal_;
    bool bar_shown_ = false;
    std::vector<std::string> held_back_;
    std::string reported_;
    LogManager::SinkId sink_;
};

/// The program's one console.
Console& console();

/// Makes the standard streams safe to use: a closed one fails on writing instead of lending its
/// number to the next file, and a broken pipe, and a file that may grow no further, is an error
/// instead of a signal. For the start of main.
void prepare_standard_streams();

/// Writes to standard output and flushes. Raises FileError when not everything arrived.
void print(std::string_view text);

}  // namespace vyn::cli
