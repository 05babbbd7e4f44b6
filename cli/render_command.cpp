#include <cmath>
#include <memory>
#include <utility>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/picture_arguments.h"
#include "process/point/marker_io.h"
#include "process/report/provenance.h"
#include "uncertainty/relative_sigma.h"

namespace vyn::cli {

namespace {

struct RenderOptions {
    std::string source;
    std::string target;
    PictureArguments look;
    double scale = 1;
    std::string field;                     ///< of which the picture is shown in per cent
    std::pair<std::string, double> hatch;  ///< standard deviations and a limit to them
    std::string markers;
    bool image_markers = false;
    bool vectors = false;
    bool force = false;
};

std::string own_label(const image& picture) {
    const bool known = picture.quantity.known() || !picture.unit.empty();
    return known ? field_label(picture).text() : std::string();
}

Hatching wanted_hatching(const RenderOptions& options, const image& picture, Progress& progress) {
    const auto& [file, limit] = options.hatch;
    if (!(limit > 0) || !std::isfinite(limit))
        throw UsageError("--hatch " + file + ": the limit must be a number above 0");
    auto sigma = std::make_shared<const image>(read_image(file, progress));
    if (!sigma->values().same_size(picture.values()))
        throw UsageError("--hatch: " + file + " is not of the size of " + options.source);
    return {std::move(sigma), limit};
}

ExitStatus render_file(const RenderOptions& options) {
    check_picture_target(options.target,
                         options.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    PictureOptions drawing;
    drawing.palette = chosen_palette(options.look);
    image picture = read_image(options.source, progress);
    if (!options.field.empty()) {
        const image field = read_image(options.field, progress);
        if (const std::string why = objection_to_per_cent(picture, &field); !why.empty())
            throw UsageError("--per-cent: " + why + ": " + options.source + ", " + options.field);
        picture = per_cent_of_field(picture, field);
    }
    if (!options.markers.empty())
        picture.markers = read_marker_file(options.markers, picture.height());
    else if (options.image_markers && picture.markers.markers.empty())
        throw UsageError("--image-markers: " + options.source + " carries no markers");
    drawing.markers = options.image_markers || !options.markers.empty();
    if (options.vectors && !picture.displacement)
        throw UsageError("--vectors: " + options.source + " carries no displacement");
    drawing.vectors = options.vectors;
    if (!options.hatch.first.empty())
        drawing.hatching = wanted_hatching(options, picture, progress);
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
    nlohmann::ordered_json more;
    if (!options.field.empty()) more["per_cent_of"] = source_file(options.field);
    if (const auto& [file, limit] = options.hatch; !file.empty())
        more["hatched"] = {{"deviations", source_file(file)}, {"above", limit}};
    write_figure(drawn, options.target,
                 described_picture(options.look, drawing, options.source, more));
    return ExitStatus::done;
}

}  // namespace

Work prepare_render(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<RenderOptions>();
    app.add_option("IN", options->source, "image, in any readable format")->required();
    app.add_option("OUT", options->target, "picture to write: PNG, SVG or PDF by its extension")
        ->required();
    add_picture_arguments(app, options->look);
    app.add_option("--per-cent", options->field,
                   "the image is a standard deviation: draw it in per cent of this field");
    app.add_option("--hatch", options->hatch,
                   "hatch where these standard deviations (an image) are above a limit")
        ->type_name("SIGMA LIMIT");
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
