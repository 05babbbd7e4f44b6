#include <filesystem>
#include <map>
#include <memory>
#include <tuple>

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/picture_arguments.h"
#include "cli/settings.h"
#include "process/steps/field_quantity.h"
#include "sample/model_point.h"
#include "sample/synthetic_point.h"
#include "sample/synthetic_run.h"

namespace vyn::cli {

namespace fs = std::filesystem;

namespace {

struct SampleOptions {
    std::string folder;
    std::string size;
    SyntheticOptions point;
    bool noise = false;
    bool binary = false;
    bool lifetime = false;
    bool mesh = false;
    ModelPointOptions model;
    int points = 0;
    bool force = false;
};

/// Shows the share of the rendering done.
class SampleProgress final : public InterruptProgress {
  public:
    explicit SampleProgress(std::string status) : status_(std::move(status)) {}
    void fraction(double done) override { console().bar(status_, done); }

  private:
    std::string status_;
};

/// Refuses before the rendering what cannot be written.
void check_files(const SampleOptions& options, const std::vector<std::string>& names) {
    for (const std::string& name : names)
        check_target(fs::path(options.folder) / name,
                     options.force ? Overwriting::allowed : Overwriting::refused);
}

ExitStatus make_model_sample(const SampleOptions& options, const SyntheticOptions& point_options) {
    ModelPointOptions model = options.model;
    model.point = point_options;
    if (const std::string problem = problem_of(model); !problem.empty()) throw UsageError(problem);
    check_files(options, model_file_names(model));
    SampleProgress progress("Making the test point");
    SubProgress rendering(progress, 0, 0.8);
    SubProgress writing(progress, 0.8, 1);
    write_model_point(make_model_point(model, rendering), options.folder, writing);
    return ExitStatus::done;
}

ExitStatus make_sample(const SampleOptions& options) {
    SyntheticOptions point_options = options.point;
    if (!options.size.empty())
        std::tie(point_options.width, point_options.height) = parse_size("--size", options.size);
    if (options.noise) point_options.noise = SyntheticOptions::Noise::camera;
    if (options.binary) point_options.channels = SyntheticOptions::Channels::binary;
    if (options.lifetime) point_options.channels = SyntheticOptions::Channels::lifetime;
    if (options.mesh) return make_model_sample(options, point_options);
    if (const std::string problem = problem_of(point_options); !problem.empty())
        throw UsageError(problem);
    std::vector<std::string> files = synthetic_file_names(point_options.channels);
    if (point_options.temperature_ramp != 0)
        for (std::string& name : infrared_file_names())
            files.push_back(std::move(name));
    check_files(options, files);
    if (options.points > 0) check_files(options, synthetic_run_files(options.points));

    SampleProgress progress("Making the test point");
    const double own_part = 1.0 / (1 + options.points);
    SubProgress rendering(progress, 0, 0.8 * own_part);
    SubProgress writing(progress, 0.8 * own_part, own_part);
    SubProgress further(progress, own_part, 1);
    const SyntheticPoint point = make_synthetic_point(point_options, rendering);
    write_synthetic_point(point, options.folder, writing);
    if (options.points > 0)
        write_synthetic_run(point_options, options.points, options.folder, further);
    return ExitStatus::done;
}

}  // namespace

Work prepare_sample(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<SampleOptions>();
    SyntheticOptions& point = options->point;
    std::map<std::string, FieldQuantity> quantities;
    for (const auto& [quantity, name] : field_quantities)
        quantities[name] = quantity;

    app.add_option("DIR", options->folder, "folder to write to; made when missing")->required();
    app.add_option("--size", options->size, "WxH in pixels; 640x480 by default");
    app.add_option("--seed", point.seed, "seed of texture, marker places and noise")
        ->capture_default_str();
    app.add_option("--order", point.order, "order of the model's motion, 0 to 3")
        ->check(CLI::Range(0, 3))
        ->capture_default_str();
    app.add_option("--bend", point.bending,
                   "pixels by which a model with textured paint bends between its markers, beside "
                   "that motion; 1.5 when no number is given")
        ->expected(0, 1)
        ->default_str("1.5");
    app.add_option("--a2", point.a2,
                   "radial distortion, 1/px^2; about 3 px in the corners by default");
    app.add_option("--a4", point.a4, "radial distortion, 1/px^4")->capture_default_str();
    app.add_option("--field", point.quantity, "quantity of the project and of its truth")
        ->transform(CLI::CheckedTransformer(quantities))
        ->option_text("Pressure|P_Pstat|Cp|Irefe_Isens");
    app.add_option("--temperature-ramp", point.temperature_ramp,
                   "kelvin by which the model is warmer at its right end with wind; an infrared "
                   "camera's picture of it is written, too; 10 when no number is given")
        ->expected(0, 1)
        ->default_str("10");
    app.add_option("--lamp-drift", point.lamp_drift,
                   "share of its light that the lamp has lost with wind; a patch beside the model "
                   "shows it; 0.02 when no number is given")
        ->expected(0, 1)
        ->default_str("0.02");
    app.add_flag("--noise", options->noise, "add the noise of a camera and round to whole counts");
    CLI::Option* const binary = app.add_flag(
        "--binary", options->binary,
        "binary paint: a second camera shows a reference dye, and the lamp moves with the wind");
    app.add_flag("--lifetime", options->lifetime,
                 "two gates after each pulse; the lamp moves with the wind")
        ->excludes(binary);
    app.add_option("--points", options->points,
                   "also the pictures of so many points with wind, and their table run.csv for "
                   "schedule")
        ->check(CLI::Range(1, 100000))
        ->excludes(binary)
        ->excludes("--lifetime")
        ->excludes("--bend");
    const std::vector<CLI::Option*> of_paint{
        app.add_option("--ratio-gain", point.ratio_gain,
                       "the pictures' ratio over that of the paint in paint.clb")
            ->capture_default_str(),
        app.add_option("--warmer", point.warmer,
                       "degrees by which the model is warmer with wind than the project says"),
        app.add_option(
            "--ports", point.ports,
            "how many ports there are, those with the lowest pressures; all 20 by default"),
        app.add_option("--port-noise", point.port_noise,
                       "standard deviation of the ports' pressures, pascal")};
    CLI::Option* const mesh =
        app.add_flag("--mesh", options->mesh,
                     "a model in space: a wing on a body, its mesh, markers on it, and cameras "
                     "obliquely above")
            ->excludes(binary)
            ->excludes("--lifetime")
            ->excludes("--points")
            ->excludes("--bend")
            ->excludes("--temperature-ramp")
            ->excludes("--lamp-drift");
    for (CLI::Option* const option : of_paint)
        mesh->excludes(option);
    app.add_option("--mesh-nodes", options->model.mesh_nodes, "nodes of the mesh, about")
        ->needs(mesh)
        ->capture_default_str();
    app.add_option("--cameras", options->model.cameras,
                   "1 or 2; the second has a project of its own, project_2.xml")
        ->needs(mesh)
        ->capture_default_str();
    app.add_flag("--force", options->force, "replace the files of an earlier test point");
    app.footer(
        "Writes wind_off.tif, wind_on.tif, their dark images and markers, flat.tif, ports.mrk,\n"
        "camera.ini, paint.clb, project.xml and the true field truth.tif. With --binary also the\n"
        "reference camera's files (..._refe) and single_channel.tif, the wrong field of the "
        "signal\n"
        "channel alone; with --lifetime the pictures of gate 1 (..._gate1). With "
        "--temperature-ramp\n"
        "infrared.tif, its markers and camera_infrared.ini. With --mesh also\n"
        "model.vtp, markers3d.mrk, the truth at its nodes truth_mesh.vtp and of the cameras\n"
        "pose.json, the wing's edges lines.csv, and reference.json for the loads; compute it by\n"
        "run DIR/project.xml --save-mesh point.vtp.");
    return [options] { return make_sample(*options); };
}

}  // namespace vyn::cli
