#include <filesystem>
#include <memory>
#include <optional>

#include "cli/commands.h"
#include "cli/settings.h"
#include "core/errors.h"
#include "markers/marker_files.h"

namespace vyn::cli {

namespace {

struct MarkersOptions {
    std::string source;
    std::string target;
    std::optional<int> height;
    bool force = false;
};

void check(const MarkerFileResult& result) {
    if (!result) throw FileError("cli/markers_command", __LINE__, "File error!", result.detail);
}

ExitStatus convert_markers(const MarkersOptions& options) {
    if (std::filesystem::path(options.source).extension() == ".inm" && !options.height)
        throw UsageError(options.source +
                         ": rows count from the bottom in this format; --height must give the "
                         "image's height in pixels");
    check_target(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    MarkerSet set;
    check(read_markers(options.source, set, options.height.value_or(0)));
    check(write_markers(options.target, set));
    return ExitStatus::done;
}

}  // namespace

Work prepare_markers(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<MarkersOptions>();
    app.add_option("IN", options->source, "marker file: mrk, mpt, inm or apm")->required();
    app.add_option("OUT", options->target, "file to write: mrk or mpt")->required();
    app.add_option("--height", options->height, "height of the image in pixels, for inm")
        ->check(CLI::Range(1, 1000000));
    app.add_flag("--force", options->force, "replace an existing file");
    return [options] { return convert_markers(*options); };
}

}  // namespace vyn::cli
