#include <filesystem>
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/settings.h"
#include "core/ascii.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/version.h"
#include "process/point/marker_io.h"
#include "process/report/provenance.h"
#include "render/picture.h"

namespace vyn::cli {

namespace {

struct RenderOptions {
    std::string source;
    std::string target;
    std::string palette = "rainbow";
    std::optional<double> minimum;
    std::optional<double> maximum;
    double scale = 1;
    bool colour_bar = false;
    std::optional<std::string> label;
    std::string title;
    std::string markers;
    bool image_markers = false;
    bool vectors = false;
    bool force = false;
};

palette_array chosen_palette(const std::string& wanted) {
    if (const palette_array* const palette = find_palette(wanted)) return *palette;
    if (lower_extension(wanted) == "lut") return read_lut(wanted);
    std::string names;
    for (const palette_array& palette : get_palette_list())
        names += palette.name + ", ";
    throw UsageError("--palette " + wanted + ": there are " + names + "or a file *.lut");
}

/// What is not given comes from the image.
Limits chosen_limits(const RenderOptions& options, const image& picture, Progress& progress) {
    Limits limits;
    if (!options.minimum || !options.maximum) limits = robust_limits(picture, progress);
    limits.minimum = options.minimum.value_or(limits.minimum);
    limits.maximum = options.maximum.value_or(limits.maximum);
    if (const std::string complaint = complaint_about(limits); !complaint.empty())
        throw UsageError(format_general(limits.minimum, 6) + " to " +
                         format_general(limits.maximum, 6) + ": " + complaint);
    return limits;
}

std::string own_label(const image& picture) {
    const bool known = picture.quantity.known() || !picture.unit.empty();
    return known ? field_label(picture).text() : std::string();
}

PngTexts describe(const RenderOptions& options, const PictureOptions& drawing) {
    const std::string program = std::string("VynLite ") + program_version;
    const nlohmann::ordered_json provenance = {{"program", program},
                                               {"rendered_from", source_file(options.source)},
                                               {"title", options.title},
                                               {"quantity", drawing.label},
                                               {"palette", options.palette},
                                               {"minimum", drawing.limits.minimum},
                                               {"maximum", drawing.limits.maximum}};
    return {{"Software", program},
            {"Comment", provenance.dump(-1, ' ', /*ensure_ascii=*/true,
                                        nlohmann::json::error_handler_t::replace)}};
}

ExitStatus render_file(const RenderOptions& options) {
    if (lower_extension(options.target) != "png")
        throw UsageError(options.target + ": pictures are PNG files (*.png)");
    check_output(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    PictureOptions drawing;
    drawing.palette = chosen_palette(options.palette);
    image picture = read_image(options.source, progress);
    if (!options.markers.empty())
        picture.markers = read_marker_file(options.markers, picture.height());
    else if (options.image_markers && picture.markers.markers.empty())
        throw UsageError("--image-markers: " + options.source + " carries no markers");
    drawing.markers = options.image_markers || !options.markers.empty();
    if (options.vectors && !picture.displacement)
        throw UsageError("--vectors: " + options.source + " carries no displacement");
    drawing.vectors = options.vectors;
    drawing.limits = chosen_limits(options, picture, progress);
    drawing.scale = options.scale;
    drawing.colour_bar = options.colour_bar;
    drawing.label = options.label ? *options.label : own_label(picture);
    drawing.title = options.title;
    const RgbPicture drawn = draw_picture(picture, drawing);
    throw_if_aborted(progress);
    write_png(drawn, options.target, describe(options, drawing));
    return ExitStatus::done;
}

}  // namespace

Work prepare_render(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<RenderOptions>();
    app.add_option("IN", options->source, "image, in any readable format")->required();
    app.add_option("OUT", options->target, "PNG file to write")->required();
    app.add_option("--palette", options->palette,
                   "rainbow, grey, viridis, cividis, Cp, or a file *.lut; default rainbow");
    app.add_option("--min", options->minimum,
                   "value of the first colour; default the 0.5 percentile of the valid pixels");
    app.add_option("--max", options->maximum,
                   "value of the last colour; default the 99.5 percentile");
    app.add_option("--scale", options->scale, "picture pixels per image pixel, default 1")
        ->check(CLI::Range(0.001, 100.0));
    app.add_flag("--colour-bar,--color-bar", options->colour_bar,
                 "draw the colours' values beside");
    app.add_option(
        "--label", options->label,
        "text along the colour bar, such as \"Pressure, Pa\"; default the quantity and unit "
        "that the image states");
    app.add_option("--title", options->title, "text above the picture");
    app.add_option("--markers", options->markers, "draw the markers of this file, with numbers");
    app.add_flag("--image-markers", options->image_markers,
                 "draw the markers that the image itself carries, as field files do");
    app.add_flag("--vectors", options->vectors,
                 "draw the displacement that the image carries as arrows");
    app.add_flag("--force", options->force, "replace an existing file");
    return [options] { return render_file(*options); };
}

}  // namespace vyn::cli
