#include "cli/markers_command.h"

#include <filesystem>
#include <memory>
#include <optional>

#include "cli/settings.h"
#include "core/messages.h"
#include "markers/marker_files.h"
#include "process/point/marker_io.h"

namespace vyn::cli {

namespace {

struct MarkersOptions {
    std::string source;
    std::string target;
    std::optional<int> height;
    bool force = false;
    Work sub_command;
};

ExitStatus convert_markers(const MarkersOptions& options) {
    if (options.source.empty() || options.target.empty())
        throw UsageError("markers: IN and OUT are required, or one of find, refine and pair");
    const int height = height_for(options.source, options.height);
    check_target(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    MarkerSet markers = read_marker_file(options.source, height);
    if (would_be_unreadable(options.target, markers) &&
        question("With the length unit nobody could read the file. Write it without the unit?"))
        markers.lengthUnit = 0;
    write_marker_file(options.target, markers);
    return ExitStatus::done;
}

ExitStatus work(const MarkersOptions& options) {
    if (!options.sub_command) return convert_markers(options);
    if (!options.source.empty())
        throw UsageError("markers: " + options.source + " is one argument too many");
    return options.sub_command();
}

}  // namespace

int height_for(const std::string& marker_file, std::optional<int> height) {
    if (!height && rows_count_from_bottom(marker_file))
        throw UsageError(marker_file +
                         ": rows count from the bottom in this format; --height must give the "
                         "image's height in pixels");
    return height.value_or(0);
}

Work prepare_markers(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<MarkersOptions>();
    app.add_option("IN", options->source, "marker file: mrk, mpt, inm or apm");
    app.add_option("OUT", options->target, "file to write: mrk or mpt");
    app.add_option("--height", options->height, "height of the image in pixels, for inm")
        ->check(CLI::Range(1, 1000000));
    app.add_flag("--force", options->force, "replace an existing file");
    app.require_subcommand(0, 1);
    add_markers_find(app, options->sub_command);
    add_markers_refine(app, options->sub_command);
    add_markers_pair(app, options->sub_command);
    return [options] { return work(*options); };
}

}  // namespace vyn::cli
