#include <array>
#include <memory>
#include <numbers>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/model_arguments.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "mesh/loads.h"
#include "process/report/json_text.h"

namespace vyn::cli {

namespace {

struct LoadsArguments {
    std::string field;
    std::string quantity;
    std::string reference_file;
    double area = 0;
    double chord = 0;
    double span = 0;
    std::string about;
    std::vector<std::string> hinge;  ///< two points
    double static_pressure = 0;
    double dynamic_pressure = 1;
    double alpha = 0;
    double beta = 0;
    std::vector<std::string> patches;
    std::string report;
    bool force = false;
};

/// The reference of a file replaces what the options say.
void take_reference(LoadsArguments& arguments) {
    if (arguments.reference_file.empty()) return;
    constexpr std::size_t largest = std::size_t{1} << 20;
    const auto text =
        nlohmann::json::parse(read_file(arguments.reference_file, largest), nullptr, false);
    if (!text.is_object())
        throw FileError("Can't open file for reading!",
                        arguments.reference_file + ": no object with area, chord, span, about");
    const auto number = [&](const char* name, double& value) {
        if (text.contains(name) && text[name].is_number()) value = text[name];
    };
    number("area", arguments.area);
    number("chord", arguments.chord);
    number("span", arguments.span);
    number("static_p", arguments.static_pressure);
    number("dynamic_p", arguments.dynamic_pressure);
    number("alpha", arguments.alpha);
    number("beta", arguments.beta);
    if (text.contains("about") && text["about"].is_array() && text["about"].size() == 3) {
        arguments.about.clear();
        for (const auto& number_text : text["about"])
            arguments.about += (arguments.about.empty() ? "" : ",") + number_text.dump();
    }
}

nlohmann::ordered_json patch_json(const PatchLoads& patch, const LoadsArguments& arguments) {
    const double degree = std::numbers::pi / 180;
    const double q_s = arguments.dynamic_pressure * arguments.area;
    const Vec3 wind = in_wind_axes(patch.force, arguments.alpha * degree, arguments.beta * degree);
    nlohmann::ordered_json entry = {{"patch", patch.name},
                                    {"force", patch.force},
                                    {"moment", patch.moment},
                                    {"covered_share", patch.covered_share()},
                                    {"area", patch.area},
                                    {"covered_area", patch.covered_area},
                                    {"projected_area", patch.projected},
                                    {"covered_projected_area", patch.covered_projected}};
    entry["coefficients"] = {{"CX", patch.force[0] / q_s},
                             {"CY", patch.force[1] / q_s},
                             {"CZ", patch.force[2] / q_s},
                             {"Cl", patch.moment[0] / (q_s * arguments.span)},
                             {"Cm", patch.moment[1] / (q_s * arguments.chord)},
                             {"Cn", patch.moment[2] / (q_s * arguments.span)},
                             {"CD", wind[0] / q_s},
                             {"CY_wind", wind[1] / q_s},
                             {"CL", wind[2] / q_s}};
    if (!arguments.hinge.empty()) {
        const double moment = hinge_moment(patch, parse_vector("--about", arguments.about),
                                           parse_vector("--hinge", arguments.hinge[0]),
                                           parse_vector("--hinge", arguments.hinge[1]));
        entry["hinge_moment"] = moment;
        entry["coefficients"]["Ch"] = moment / (q_s * arguments.chord);
    }
    if (patch.force_sigma) entry["force_of_one_sigma_pose"] = *patch.force_sigma;
    return entry;
}

ExitStatus work(LoadsArguments arguments) {
    check_output(arguments.report, arguments.force ? Overwriting::allowed : Overwriting::refused);
    take_reference(arguments);
    if (!(arguments.area > 0 && arguments.chord > 0 && arguments.span > 0) ||
        arguments.dynamic_pressure == 0)
        throw UsageError("loads: area, chord and span must be above 0, --dynamic-p not 0");
    const Vec3 about = parse_vector("--about", arguments.about);
    if (!arguments.hinge.empty() &&
        parse_vector("--hinge", arguments.hinge[0]) == parse_vector("--hinge", arguments.hinge[1]))
        throw UsageError("loads: the two points of --hinge are one");
    InterruptProgress progress;
    const field_data<double> mesh = read_field(arguments.field, progress);
    const Surface surface = prepare_surface(mesh, progress);
    const std::string quantity = chosen_quantity(mesh, arguments.quantity);
    const auto patches = surface_loads(
        mesh, surface, {quantity, arguments.static_pressure, about, arguments.patches});
    nlohmann::ordered_json report = {{"field", arguments.field},
                                     {"quantity", quantity},
                                     {"unit", mesh.unit},
                                     {"static_p", arguments.static_pressure},
                                     {"dynamic_p", arguments.dynamic_pressure},
                                     {"reference",
                                      {{"area", arguments.area},
                                       {"chord", arguments.chord},
                                       {"span", arguments.span},
                                       {"about", about}}},
                                     {"alpha", arguments.alpha},
                                     {"beta", arguments.beta}};
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
    app.add_option("--area", arguments->area, "reference area, in the mesh's unit squared");
    app.add_option("--chord", arguments->chord, "reference length of pitching moments");
    app.add_option("--span", arguments->span, "reference length of the other moments");
    app.add_option("--about", arguments->about, "X,Y,Z: point of the moments");
    app.add_option(
           "--hinge", arguments->hinge,
           "X,Y,Z X,Y,Z: two points of an axis; adds the moment about it, right-handed from "
           "the first to the second")
        ->expected(2);
    app.add_option("--static-p", arguments->static_pressure,
                   "subtracted from the values; 0 for Cp");
    app.add_option("--dynamic-p", arguments->dynamic_pressure,
                   "divides the coefficients; 1 for Cp");
    app.add_option("--alpha", arguments->alpha, "angle of attack, degrees");
    app.add_option("--beta", arguments->beta, "angle of sideslip, degrees");
    app.add_option("--patch", arguments->patches, "zone to take; by default every one")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--report", arguments->report, "write the loads (JSON); by default printed");
    app.add_flag("--force", arguments->force, "replace an existing file");
    return [arguments] { return work(*arguments); };
}

}  // namespace vyn::cli
