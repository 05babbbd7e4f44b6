#include <array>
#include <memory>
#include <utility>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/model_arguments.h"
#include "cli/picture_arguments.h"
#include "core/numbers.h"
#include "process/model/model_inputs.h"
#include "render/model/model_picture.h"

namespace vyn::cli {

namespace {

struct Render3dOptions {
    std::string field;
    std::string target;
    PictureArguments look;
    std::string quantity;
    std::string view;
    std::optional<double> azimuth;
    std::optional<double> elevation;
    std::string size;
    bool edges = false;
    bool no_light = false;
    bool force = false;
};

struct NamedView {
    const char* name;
    double azimuth;
    double elevation;
};
constexpr std::array<NamedView, 6> named_views{{{"front", 0, 0},
                                                {"back", 180, 0},
                                                {"left", -90, 0},
                                                {"right", 90, 0},
                                                {"top", 180, 90},
                                                {"bottom", 0, -90}}};
constexpr double usual_azimuth = 30;
constexpr double usual_elevation = 30;
constexpr std::pair<int, int> usual_size{1000, 800};

/// "camera:K" with K from 1, of the views that the file carries.
std::optional<std::size_t> camera_of(const std::string& view, std::size_t cameras) {
    constexpr std::string_view prefix = "camera:";
    if (!view.starts_with(prefix)) return std::nullopt;
    const auto number = parse_int(view.substr(prefix.size()));
    if (!number || *number < 1 || static_cast<std::size_t>(*number) > cameras)
        throw UsageError("--view " + view + ": the file has " + std::to_string(cameras) +
                         " cameras, from camera:1");
    return static_cast<std::size_t>(*number) - 1;
}

ModelView chosen_view(const Render3dOptions& options, const field_data<double>& mesh) {
    const bool turned = options.azimuth || options.elevation;
    if (turned && !options.view.empty())
        throw UsageError("render3d: --view and --azimuth, --elevation exclude each other");
    const auto size = options.size.empty() ? usual_size : parse_size("--size", options.size);
    if (const auto camera = camera_of(options.view, mesh.views.size())) {
        const auto& record = mesh.views[*camera];
        if (record.width < 1 || record.height < 1)
            throw UsageError("--view " + options.view + ": the file does not say its size");
        const double zoom = options.size.empty() ? 1
                                                 : std::min(double(size.first) / record.width,
                                                            double(size.second) / record.height);
        const std::string unit = mesh.unit.empty() ? "mm" : mesh.unit;
        return view_of_camera(record, mm_per(unit), zoom);
    }
    const auto seen = [&](double azimuth, double elevation) {
        return view_from(azimuth, elevation, mesh, size.first, size.second);
    };
    if (options.view.empty())
        return seen(options.azimuth.value_or(usual_azimuth),
                    options.elevation.value_or(usual_elevation));
    for (const NamedView& view : named_views)
        if (options.view == view.name) return seen(view.azimuth, view.elevation);
    throw UsageError("--view " + options.view +
                     ": there are front, back, left, right, top, bottom, camera:K");
}

ExitStatus render_model(const Render3dOptions& options) {
    check_picture_target(options.target,
                         options.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    FrameOptions frame;
    frame.palette = chosen_palette(options.look);
    const field_data<double> mesh = read_field(options.field, progress);
    const ModelView view = chosen_view(options, mesh);
    ModelLook look;
    look.light = !options.no_light;
    look.edges = options.edges;
    frame.title = options.look.title;
    if (!options.quantity.empty() || !mesh.quantities.empty()) {
        const std::string name = chosen_quantity(mesh, options.quantity);
        look.quantity = mesh.find(name);
        if (!look.quantity) throw UsageError("the mesh has no values '" + name + "'");
        const std::string& unit = look.quantity->unit;
        frame.limits = chosen_limits(options.look, robust_limits(*look.quantity));
        frame.iso_levels = chosen_iso_levels(options.look, frame.limits);
        frame.iso_labels = options.look.iso.labels;
        frame.colour_bar = options.look.colour_bar;
        frame.label = options.look.label.value_or(unit.empty() ? name : name + ", " + unit);
    }
    const Surface surface = prepare_surface(mesh, progress);
    const Figure drawn =
        model_figure(mesh, surface, vertex_normals(mesh, surface), view, look, frame, {}, progress);
    write_figure(drawn, options.target, described_picture(options.look, frame, options.field));
    return ExitStatus::done;
}

}  // namespace

Work prepare_render3d(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<Render3dOptions>();
    app.add_option("FIELD3D", options->field, "mesh, with or without values")->required();
    app.add_option("OUT", options->target, "picture to write: PNG, SVG or PDF by its extension")
        ->required();
    app.add_option("--quantity", options->quantity,
                   "values to show; by default the first quantity of the file");
    app.add_option("--view", options->view,
                   "front (along x at the nose), back, left, right (from y), top (from z), bottom, "
                   "or camera:K as the K-th camera of the file sees it");
    app.add_option("--azimuth", options->azimuth,
                   "degrees: 0 from the front, 90 from the right; 30 by default");
    app.add_option("--elevation", options->elevation, "degrees above the x-y plane; 30 by default");
    app.add_option("--size", options->size,
                   "WxH in pixels; 1000x800 by default, of a camera its "
                   "own size");
    add_picture_arguments(app, options->look);
    app.add_flag("--edges", options->edges, "draw the edges of the mesh's cells");
    app.add_flag("--no-light", options->no_light, "colours exactly those of the palette");
    app.add_flag("--force", options->force, "replace an existing file");
    app.footer("Parts that no camera saw are grey.");
    return [options] { return render_model(*options); };
}

}  // namespace vyn::cli
