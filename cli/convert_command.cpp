#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/read_arguments.h"
#include "cli/settings.h"
#include "core/ascii.h"
#include "core/errors.h"
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
    bool y_up = false;
    bool force = false;
};

/// Only formats that state no direction of y: in the others the picture would stand on its head.
void check_y_up(const std::string& target) {
    constexpr std::array undirected{"vti", "dat", "tec", "csv"};
    if (std::ranges::find(undirected, lower_extension(target)) == undirected.end())
        throw UsageError("--y-up belongs to the formats vti, dat, tec and csv");
}

/// The rows from the last one to the first, so that y counts upwards.
image with_y_up(const image& picture, const std::string& file) {
    if (picture.displacement)
        throw FileError("Error reading file",
                        file + ": displacements are written with y down only");
    image turned(picture.width(), picture.height());
    turned.attributes() = picture.attributes();
    for (int y = 0; y < picture.height(); ++y) {
        const int from = picture.height() - 1 - y;
        std::copy_n(picture.values().row(from), picture.width(), turned.values().row(y));
        std::copy_n(picture.mask().row(from), picture.width(), turned.mask().row(y));
    }
    return turned;
}

ExitStatus convert(const ConvertOptions& options) {
    if (options.y_up) check_y_up(options.target);
    check_target(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    image picture = read_image(options.source, options.reading, progress);
    if (options.y_up) picture = with_y_up(picture, options.source);
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
    app.add_flag("--y-up", options->y_up,
                 "vti, dat and csv: y counts upwards from the last row of the picture");
    app.add_flag("--force", options->force, "replace an existing file");
    return [options] { return convert(*options); };
}

}  // namespace vyn::cli
