#pragma once

#include <array>
#include <functional>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

namespace vyn::cli {

/// What the program gives back to its caller.
enum class ExitStatus { done = 0, failed = 1, wrong_usage = 2 };

/// Wrong usage that shows only after the options were parsed, such as a setting that the key table
/// does not allow. Ends the program with status 2; every other exception ends it with status 1.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Options that all sub-commands share; they may stand before or after the sub-command's name.
struct GlobalOptions {
    enum class Verbosity { quiet, normal, verbose };
    enum class Answer { no, yes };
    Verbosity verbosity = Verbosity::normal;
    Answer answer = Answer::no;  ///< to every question; applied by main
    int threads = 0;             ///< 0 = all cores; applied by main
};

/// The work of a sub-command, called after parsing. Errors leave it as exceptions; main prints
/// them.
using Work = std::function<ExitStatus()>;

/// A sub-command: its name, what it does in one line, and the function that puts its options on
/// `app` and gives back its work. The work keeps the option values alive (shared pointer); `global`
/// outlives it and is filled by the time it runs.
struct Command {
    const char* name;
    const char* meaning;
    Work (*prepare)(CLI::App& app, const GlobalOptions& global);
};

/// All sub-commands, in the order of the help text.
const std::array<Command, 21>& commands();

Work prepare_new(CLI::App& app, const GlobalOptions& global);
Work prepare_run(CLI::App& app, const GlobalOptions& global);
Work prepare_get(CLI::App& app, const GlobalOptions& global);
Work prepare_calibrate(CLI::App& app, const GlobalOptions& global);
Work prepare_fit_paint(CLI::App& app, const GlobalOptions& global);
Work prepare_average(CLI::App& app, const GlobalOptions& global);
Work prepare_convert(CLI::App& app, const GlobalOptions& global);
Work prepare_align(CLI::App& app, const GlobalOptions& global);
Work prepare_filter(CLI::App& app, const GlobalOptions& global);
Work prepare_resect(CLI::App& app, const GlobalOptions& global);
Work prepare_project(CLI::App& app, const GlobalOptions& global);
Work prepare_section(CLI::App& app, const GlobalOptions& global);
Work prepare_loads(CLI::App& app, const GlobalOptions& global);
Work prepare_mesh(CLI::App& app, const GlobalOptions& global);
Work prepare_markers(CLI::App& app, const GlobalOptions& global);
Work prepare_noise(CLI::App& app, const GlobalOptions& global);
Work prepare_render(CLI::App& app, const GlobalOptions& global);
Work prepare_render3d(CLI::App& app, const GlobalOptions& global);
Work prepare_schedule(CLI::App& app, const GlobalOptions& global);
Work prepare_sample(CLI::App& app, const GlobalOptions& global);
Work prepare_compare(CLI::App& app, const GlobalOptions& global);

}  // namespace vyn::cli
