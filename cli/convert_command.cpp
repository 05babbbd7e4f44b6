#include <filesystem>
#include <memory>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/read_arguments.h"
#include "cli/settings.h"
#include "core/version.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"

namespace vyn::cli {

namespace {

struct ConvertOptions {
    std::string source;
    std::string target;
    ImageReadOptions reading;
    bool scale = false;
    bool force = false;
};

ExitStatus convert(const ConvertOptions& options) {
    check_target(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    const image picture = read_image(options.source, options.reading, progress);
    const nlohmann::json provenance = {{"program", std::string("VynLite ") + program_version},
                                       {"converted_from", source_file(options.source)}};
    ImageWriteOptions write_options;
    if (options.scale) write_options.scale = ImageWriteOptions::Scale::stretch;
    write_options.provenance = json_text(provenance);
    write_image(picture, options.target, write_options, progress);
    return ExitStatus::done;
}

}  // namespace

Work prepare_convert(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<ConvertOptions>();
    app.add_option("IN", options->source, "image, in any readable format")->required();
    app.add_option("OUT", options->target, "file to write; the extension picks the format")
        ->required();
    add_read_arguments(app, options->reading);
    app.add_flag("--scale", options->scale,
                 "integer formats: stretch the values to the full range instead of clipping them");
    app.add_flag("--force", options->force, "replace an existing file");
    return [options] { return convert(*options); };
}

}  // namespace vyn::cli
