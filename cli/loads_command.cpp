#include <array>
#include <memory>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/model_arguments.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "mesh/loads.h"
#include "process/model/loads_table.h"
#include "process/model/painted_patches.h"
#include "process/report/json_text.h"

namespace vyn::cli {

namespace {

struct LoadsArguments {
    std::string field;
    std::string quantity;
    std::string reference_file;
    LoadsReference reference;
    std::string about;
    std::vector<std::string> hinge;  ///< two points
    std::vector<std::string> zones;
    std::string patches_file;
    std::string report;
    bool force = false;
};

nlohmann::ordered_json patch_json(const PatchLoads& patch, const LoadsArguments& arguments) {
    nlohmann::ordered_json entry = {{"patch", patch.name},
                                    {"force", patch.force},
                                    {"moment", patch.moment},
                                    {"covered_share", patch.covered_share()},
                                    {"area", patch.area},
                                    {"covered_area", patch.covered_area},
                                    {"projected_area", patch.projected},
                                    {"covered_projected_area", patch.covered_projected}};
    for (const auto& [name, value] : load_coefficients(patch, arguments.reference))
        entry["coefficients"][name] = value;
    if (!arguments.hinge.empty()) {
        const double moment = hinge_moment(patch, arguments.reference.about,
                                           parse_vector("--hinge", arguments.hinge[0]),
                                           parse_vector("--hinge", arguments.hinge[1]));
        entry["hinge_moment"] = moment;
        entry["coefficients"]["Ch"] = hinge_coefficient(moment, arguments.reference);
    }
    if (patch.force_sigma) entry["force_of_one_sigma_pose"] = *patch.force_sigma;
    if (patch.force_sigma_common && patch.force_sigma_random)
        entry["force_sigma"] = {{"common", *patch.force_sigma_common},
                                {"random", *patch.force_sigma_random}};
    return entry;
}

std::vector<FacePatch> painted_in(const std::string& file, std::size_t triangles) {
    const PaintedPatches painted = read_patches(file, triangles);
    if (painted.names.empty()) throw UsageError("loads: no patch in " + file);
    std::vector<FacePatch> patches;
    for (std::size_t i = 0; i < painted.names.size(); ++i)
        patches.push_back(face_patch(painted, i));
    return patches;
}

ExitStatus work(LoadsArguments arguments) {
    check_output(arguments.report, arguments.force ? Overwriting::allowed : Overwriting::refused);
    LoadsReference& reference = arguments.reference;
    reference.about = parse_vector("--about", arguments.about);
    // That of a file replaces what the options say.
    if (!arguments.reference_file.empty())
        read_loads_reference(arguments.reference_file, reference);
    if (!problem_of(reference).empty())
        throw UsageError("loads: area, chord and span must be above 0, --dynamic-p not 0");
    if (!arguments.hinge.empty() &&
        parse_vector("--hinge", arguments.hinge[0]) == parse_vector("--hinge", arguments.hinge[1]))
        throw UsageError("loads: the two points of --hinge are one");
    InterruptProgress progress;
    const field_data<double> mesh = read_field(arguments.field, progress);
    const Surface surface = prepare_surface(mesh, progress);
    const std::string quantity = chosen_quantity(mesh, arguments.quantity);
    LoadsRequest request{quantity, reference.static_pressure, reference.about, arguments.zones};
    if (!arguments.patches_file.empty())
        request.patches = painted_in(arguments.patches_file, mesh.triangles.size());
    const auto patches = surface_loads(mesh, surface, request);
    nlohmann::ordered_json report = {{"field", arguments.field},
                                     {"quantity", quantity},
                                     {"unit", mesh.unit},
                                     {"static_p", reference.static_pressure},
                                     {"dynamic_p", reference.dynamic_pressure},
                                     {"reference",
                                      {{"area", reference.area},
                                       {"chord", reference.chord},
                                       {"span", reference.span},
                                       {"about", reference.about}}},
                                     {"alpha", reference.alpha},
                                     {"beta", reference.beta}};
    for (const PatchLoads& patch : patches)
        report["patches"].push_back(patch_json(patch, arguments));
    const std::string text =
        report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    if (arguments.report.empty())
        print(text);
    else
        write_file(arguments.report, text);
    return ExitStatus::done;
}

}  // namespace

Work prepare_loads(CLI::App& app, const GlobalOptions&) {
    const auto arguments = std::make_shared<LoadsArguments>();
    app.add_option("FIELD3D", arguments->field, "mesh with values, such as project writes")
        ->required();
    app.add_option("--quantity", arguments->quantity,
                   "values to take; by default the first quantity of the file");
    app.add_option("--reference", arguments->reference_file,
                   "JSON object with area, chord, span, about, static_p, dynamic_p, alpha, beta");
    app.add_option("--area", arguments->reference.area,
                   "reference area, in the mesh's unit squared");
    app.add_option("--chord", arguments->reference.chord, "reference length of pitching moments");
    app.add_option("--span", arguments->reference.span, "reference length of the other moments");
    app.add_option("--about", arguments->about, "X,Y,Z: point of the moments");
    app.add_option(
           "--hinge", arguments->hinge,
           "X,Y,Z X,Y,Z: two points of an axis; adds the moment about it, right-handed from "
           "the first to the second")
        ->expected(2);
    app.add_option("--static-p", arguments->reference.static_pressure,
                   "subtracted from the values; 0 for Cp");
    app.add_option("--dynamic-p", arguments->reference.dynamic_pressure,
                   "divides the coefficients; 1 for Cp");
    app.add_option("--alpha", arguments->reference.alpha, "angle of attack, degrees");
    app.add_option("--beta", arguments->reference.beta, "angle of sideslip, degrees");
    CLI::Option* zones =
        app.add_option("--patch", arguments->zones, "zone to take; by default every one")
            ->take_all()
            ->allow_extra_args(false);
    app.add_option("--patches", arguments->patches_file,
                   "patches painted in the window and saved there (JSON), in the zones' place")
        ->excludes(zones);
    app.add_option("--report", arguments->report, "write the loads (JSON); by default printed");
    app.add_flag("--force", arguments->force, "replace an existing file");
    return [arguments] { return work(*arguments); };
}

}  // namespace vyn::cli
