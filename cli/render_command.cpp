#include <memory>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/picture_arguments.h"
#include "process/point/marker_io.h"

namespace vyn::cli {

namespace {

struct RenderOptions {
    std::string source;
    std::string target;
    PictureArguments look;
    double scale = 1;
    std::string markers;
    bool image_markers = false;
    bool vectors = false;
    bool force = false;
};

std::string own_label(const image& picture) {
    const bool known = picture.quantity.known() || !picture.unit.empty();
    return known ? field_label(picture).text() : std::string();
}

ExitStatus render_file(const RenderOptions& options) {
    check_picture_target(options.target,
                         options.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    PictureOptions drawing;
    drawing.palette = chosen_palette(options.look);
    image picture = read_image(options.source, progress);
    if (!options.markers.empty())
        picture.markers = read_marker_file(options.markers, picture.height());
    else if (options.image_markers && picture.markers.markers.empty())
        throw UsageError("--image-markers: " + options.source + " carries no markers");
    drawing.markers = options.image_markers || !options.markers.empty();
    if (options.vectors && !picture.displacement)
        throw UsageError("--vectors: " + options.source + " carries no displacement");
    drawing.vectors = options.vectors;
    const bool given = options.look.minimum && options.look.maximum;
    drawing.limits =
        chosen_limits(options.look, given ? Limits{} : robust_limits(picture, progress));
    drawing.iso_levels = chosen_iso_levels(options.look, drawing.limits);
    drawing.iso_labels = options.look.iso.labels;
    drawing.scale = options.scale;
    drawing.colour_bar = options.look.colour_bar;
    drawing.label = options.look.label ? *options.look.label : own_label(picture);
    drawing.title = options.look.title;
    const Figure drawn = field_figure(picture, drawing);
    throw_if_aborted(progress);
    write_figure(drawn, options.target, described_picture(options.look, drawing, options.source));
    return ExitStatus::done;
}

}  // namespace

Work prepare_render(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<RenderOptions>();
    app.add_option("IN", options->source, "image, in any readable format")->required();
    app.add_option("OUT", options->target, "picture to write: PNG, SVG or PDF by its extension")
        ->required();
    add_picture_arguments(app, options->look);
    app.add_option("--scale", options->scale, "picture pixels per image pixel, default 1")
        ->check(CLI::Range(0.001, 100.0));
    app.add_option("--markers", options->markers, "draw the markers of this file, with numbers");
    app.add_flag("--image-markers", options->image_markers,
                 "draw the markers that the image itself carries, as field files do");
    app.add_flag("--vectors", options->vectors,
                 "draw the displacement that the image carries as arrows");
    app.add_flag("--force", options->force, "replace an existing file");
    return [options] { return render_file(*options); };
}

}  // namespace vyn::cli
