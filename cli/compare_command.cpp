#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "mesh/vec3.h"
#include "process/point/marker_io.h"
#include "process/report/field_comparison.h"
#include "process/report/mesh_comparison.h"

namespace vyn::cli {

namespace {

constexpr double usual_dot_distance = 7;  // pixels; a dot and what a spline carries of it

struct CompareOptions {
    std::string field;
    std::string truth;
    int edge = 0;
    std::string markers;
    std::optional<double> dot;
    std::string quantity;
    bool json = false;
};

std::string number(double value) {
    return format_general(value, 6);
}

std::string with_share(double value, double range) {
    if (!(range > 0)) return number(value);
    return number(value) + "  (" + format_general(100 * value / range, 4) +
           " % of the truth's range)";
}

/// A difference of two quantities means nothing.
std::string complaint_about(const image& field, const image& truth) {
    const bool known = field.quantity.known() && truth.quantity.known();
    if (!known || (field.quantity == truth.quantity && field.unit == truth.unit)) return {};
    return "the field holds " + quantity_words(field) + ", the truth " + quantity_words(truth);
}

std::string as_text(const FieldComparison& result) {
    const double range = result.truth_range();
    return "compared pixels  " + std::to_string(result.count) + "\n" + "truth            " +
           number(result.truth_min) + " to " + number(result.truth_max) + "\n" +
           "RMS error        " + with_share(result.rms_error, range) + "\n" + "mean error       " +
           with_share(result.mean_error, range) + "\n" + "max error        " +
           with_share(result.max_error, range) + "  at (" + std::to_string(result.max_x) + ", " +
           std::to_string(result.max_y) + ")\n";
}

std::string as_json(const FieldComparison& result, const image& field) {
    nlohmann::ordered_json text = {{"quantity", stored_name(field.quantity)},
                                   {"unit", field.unit},
                                   {"count", result.count},
                                   {"truth_min", result.truth_min},
                                   {"truth_max", result.truth_max},
                                   {"rms_error", result.rms_error},
                                   {"mean_error", result.mean_error},
                                   {"max_error", result.max_error},
                                   {"max_error_at", {result.max_x, result.max_y}}};
    if (const double range = result.truth_range(); range > 0) {
        text["rms_percent"] = 100 * result.rms_error / range;
        text["mean_percent"] = 100 * result.mean_error / range;
        text["max_percent"] = 100 * result.max_error / range;
    }
    return text.dump(2) + "\n";
}

/// The markers of a file, or those that the field carries.
std::vector<Point> dots_of(const std::string& file, const image& field) {
    const MarkerSet set = file.empty() ? field.markers : read_marker_file(file, field.height());
    std::vector<Point> dots;
    for (const Marker& marker : set.markers)
        dots.push_back({marker.x, marker.y});
    return dots;
}

std::string as_text(const MeshComparison& result, const field_data<double>& field) {
    const double range = result.truth_range();
    const Vec3& worst = field.vertices[result.worst];
    std::string text = "quantity         " + result.quantity + "\n" + "compared nodes   " +
                       std::to_string(result.count) + ", seen " + std::to_string(result.seen) +
                       " of " + std::to_string(result.nodes) + "\n" + "truth            " +
                       number(result.truth_min) + " to " + number(result.truth_max) + "\n" +
                       "RMS error        " + with_share(result.rms_error, range) + "\n" +
                       "mean error       " + with_share(result.mean_error, range) + "\n" +
                       "max error        " + with_share(result.max_error, range) + "  at node " +
                       std::to_string(result.worst) + " (" + number(worst[0]) + ", " +
                       number(worst[1]) + ", " + number(worst[2]) + ")\n";
    if (result.knows_seen)
        text += "hidden nodes     " + std::to_string(result.hidden_with_value) +
                " with a value; visible ones without (slanted, masked) " +
                std::to_string(result.seen_without_value) + "\n";
    return text;
}

std::string as_json(const MeshComparison& result) {
    nlohmann::ordered_json text = {{"quantity", result.quantity},
                                   {"unit", result.unit},
                                   {"nodes", result.nodes},
                                   {"seen", result.seen},
                                   {"count", result.count},
                                   {"truth_min", result.truth_min},
                                   {"truth_max", result.truth_max},
                                   {"rms_error", result.rms_error},
                                   {"mean_error", result.mean_error},
                                   {"max_error", result.max_error},
                                   {"max_error_at_node", result.worst}};
    if (const double range = result.truth_range(); range > 0)
        text["rms_percent"] = 100 * result.rms_error / range;
    if (result.knows_seen) {
        text["hidden_with_value"] = result.hidden_with_value;
        text["seen_without_value"] = result.seen_without_value;
    }
    return text.dump(2) + "\n";
}

ExitStatus compare_meshes(const CompareOptions& options) {
    InterruptProgress progress;
    const field_data<double> field = read_field(options.field, progress);
    const field_data<double> truth = read_field(options.truth, progress);
    MeshComparisonOptions comparison;
    comparison.quantity = options.quantity;
    comparison.edge = options.edge;
    if (options.dot.has_value() == options.markers.empty())
        throw UsageError("compare: on a mesh --markers and --dot belong together");
    comparison.dot_distance = options.dot.value_or(0);
    if (!options.markers.empty())
        for (const Marker& marker : read_marker_file(options.markers, 0).markers)
            comparison.dots.push_back({marker.x, marker.y, marker.z});
    const MeshComparison result = compare_on_mesh(field, truth, comparison);
    print(options.json ? as_json(result) : as_text(result, field));
    return ExitStatus::done;
}

ExitStatus compare(const CompareOptions& options) {
    // Tables and other files without a mesh's extension are tried as pictures.
    if (get_3dio().by_extension(options.field)) return compare_meshes(options);
    if (!options.quantity.empty()) throw UsageError("compare: --quantity belongs to meshes");
    InterruptProgress progress;
    const image field = read_image(options.field, progress);
    const image truth = read_image(options.truth, progress);
    ComparisonOptions comparison;
    comparison.edge = options.edge;
    comparison.dot_distance =
        options.dot.value_or(options.markers.empty() ? 0 : usual_dot_distance);
    comparison.dots = dots_of(options.markers, field);
    const FieldComparison result = compare_fields(field, truth, comparison, progress);
    if (const std::string complaint = complaint_about(field, truth); !complaint.empty())
        console().line("warning: " + complaint);
    print(options.json ? as_json(result, field) : as_text(result));
    return ExitStatus::done;
}

}  // namespace

Work prepare_compare(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<CompareOptions>();
    app.add_option("FIELD", options->field, "computed field: a picture, or a mesh with values")
        ->required();
    app.add_option("TRUTH", options->truth, "true field, of the same size or the same nodes")
        ->required();
    app.add_option("--edge", options->edge,
                   "leave out pixels that are N or fewer columns and rows away from an excluded "
                   "pixel or from outside the picture; of a mesh nodes N or fewer edges away from "
                   "one that was not seen")
        ->check(CLI::Range(0, 65536))
        ->option_text("N");
    app.add_option("--markers", options->markers,
                   "marker file; by default the markers that the field carries; of a mesh those "
                   "on the model, in its unit");
    app.add_option(
           "--dot", options->dot,
           "leave out pixels this near to a marker (default 7 with --markers, else 0); of a "
           "mesh nodes, in its unit")
        ->check(CLI::Range(0.0, 65536.0));
    app.add_option("--quantity", options->quantity, "of a mesh; by default the first one of FIELD");
    app.add_flag("--json", options->json, "print as JSON");
    return [options] { return compare(*options); };
}

}  // namespace vyn::cli
