#include <iostream>
#include <new>
#include <sstream>

#include <CLI/CLI.hpp>

#include "api/image_io.h"
#include "api/parallel.h"
#include "calib/units.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "core/errors.h"
#include "core/messages.h"
#include "core/progress.h"
#include "core/version.h"
#include "process/report/provenance.h"

using namespace vyn;
using namespace vyn::cli;

namespace {

void add_global_options(CLI::App& app, GlobalOptions& global) {
    using Verbosity = GlobalOptions::Verbosity;
    app.set_version_flag("--version", std::string("vynlite-batch ") + program_version);
    app.add_flag_callback(
        "-q,--quiet", [&] { global.verbosity = Verbosity::quiet; }, "print errors only");
    app.add_flag_callback(
        "-v,--verbose", [&] { global.verbosity = Verbosity::verbose; }, "print every step");
    app.add_flag_callback(
        "-y,--yes", [&] { global.answer = GlobalOptions::Answer::yes; },
        "answer every question with yes; without it the answer is no");
    app.add_flag_callback(
        "--anonymous", [] { set_provenance_detail(ProvenanceDetail::anonymous); },
        "tell no paths, names and settings in the images and reports written");
    app.add_option("--threads", global.threads, "number of threads; 0: all cores")
        ->check(CLI::Range(0, 1024));
}

void connect_messages(const GlobalOptions& global) {
    set_custom_message_fun([](const char* text) { console().line(text); },
                           [&global](const char* text) {
                               const bool yes = global.answer == GlobalOptions::Answer::yes;
                               console().line(std::string(text) + (yes ? " yes" : " no"));
                               return yes;
                           });
}

/// Help and version go to standard output; everything else that parsing throws is wrong usage.
ExitStatus report_parsing(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        std::ostringstream text;
        app.exit(error, text, text);
        print(text.str());
        return ExitStatus::done;
    }
    console().error(std::string(error.what()) + " (vynlite-batch --help shows the usage)");
    return ExitStatus::wrong_usage;
}

ExitStatus parse_and_work(int argc, char** argv) {
    CLI::App app{
        "VynLite: surface pressure from pressure-sensitive-paint images, without a window.",
        "vynlite-batch"};
    app.footer(
        "Exit status: 0 done, 1 a computation or a file failed, 2 wrong usage.\n"
        "vynlite-batch COMMAND --help explains a command.");
    app.require_subcommand(0, 1);
    app.fallthrough();
    GlobalOptions global;
    add_global_options(app, global);
    Work chosen;
    for (const Command& command : commands()) {
        CLI::App* sub = app.add_subcommand(command.name, command.meaning);
        sub->callback([&chosen, work = command.prepare(*sub, global)] { chosen = work; });
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return report_parsing(app, error);
    }
    if (!chosen) throw UsageError("a command is missing (vynlite-batch --help lists them)");
    console().set_verbosity(global.verbosity);
    connect_messages(global);
    if (global.verbosity == GlobalOptions::Verbosity::quiet)
        set_unit_messages(UnitMessages::logged);
    const ThreadLimit threads(global.threads);
    register_plugins("*.2dio");
    register_plugins("*.3dio");
    return chosen();
}

ExitStatus guarded(int argc, char** argv) {
    try {
        return parse_and_work(argc, argv);
    } catch (const UsageError& error) {
        console().error(error.what());
        return ExitStatus::wrong_usage;
    } catch (const GenericError& error) {
        console().error(error.what());
    } catch (const Aborted&) {
        console().error("interrupted");
    } catch (const std::bad_alloc&) {
        console().error("not enough memory");
    } catch (const std::exception& error) {
        console().error(error.what());
    }
    return ExitStatus::failed;
}

}  // namespace

int main(int argc, char** argv) {
    prepare_standard_streams();
    const ExitStatus status = guarded(argc, argv);
    console().finish();
    return static_cast<int>(status);
}
