#include <algorithm>
#include <memory>

#include "align/dots/marker_centroid.h"
#include "align/dots/marker_detection.h"
#include "api/image_io.h"
#include "cli/console.h"
#include "cli/detection_options.h"
#include "cli/markers_command.h"
#include "cli/settings.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "process/point/marker_io.h"

namespace vyn::cli {

namespace {

struct FindOptions {
    std::string image;
    std::string target;
    DetectionArguments detection;
    bool force = false;
};

ExitStatus find(const FindOptions& options) {
    const DetectionOptions detection = detection_options(options.detection);
    check_output(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    const image picture = read_image(options.image);
    Progress progress;
    const MarkerSet set = find_markers(picture, detection, progress);
    if (set.markers.empty())
        throw AlgoError("No markers found!", options.image + ": no dots of these sizes");
    write_marker_file(options.target, set);
    print("found " + std::to_string(set.markers.size()) + " dots" +
          (detection.expect > 0 ? " of " + std::to_string(detection.expect) : "") + "\n");
    return ExitStatus::done;
}

struct RefineOptions {
    std::string image;
    std::string source;
    std::string target;
    std::string project;
    std::string method;
    bool bright = false;
    int size = 9;
    bool force = false;
};

/// As the user says it, else as the project says it, else the default of the setting.
MarkerRefinement refinement_of(const RefineOptions& options) {
    if (!options.method.empty())
        return options.method == "dot" ? MarkerRefinement::dot : MarkerRefinement::surface;
    simpleNamedDataSet settings;
    if (!options.project.empty()) load_xml(settings, options.project.c_str());
    return read(settings, keys::markers_refine) == 1 ? MarkerRefinement::dot
                                                     : MarkerRefinement::surface;
}

ExitStatus refine(const RefineOptions& options) {
    check_output(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    const image picture = read_image(options.image);
    MarkerSet set = read_marker_file(options.source, picture.height());
    const MarkerRefinement method = refinement_of(options);
    const DotPolarity polarity = options.bright ? DotPolarity::bright : DotPolarity::dark;
    const auto active = std::count_if(set.markers.begin(), set.markers.end(),
                                      [](const Marker& marker) { return marker.active; });
    Progress progress;
    const auto stayed = refine_markers(picture, set, options.size, polarity, method, progress);
    std::string kept;
    for (const std::int32_t number : stayed)
        kept += "marker " + std::to_string(number) + " stays where it was\n";
    write_marker_file(options.target, set);
    const auto refined = active - static_cast<std::ptrdiff_t>(stayed.size());
    print(kept + "refined " + std::to_string(refined) + " of " + std::to_string(active) +
          " active markers\n");
    return ExitStatus::done;
}

}  // namespace

void add_markers_find(CLI::App& markers, Work& work) {
    const auto options = std::make_shared<FindOptions>();
    CLI::App* app = markers.add_subcommand("find", "find the dots of an image");
    app->add_option("IMAGE", options->image, "image file")->required();
    app->add_option("OUT", options->target, "file to write: mrk or mpt")->required();
    add_detection_options(*app, options->detection);
    app->add_flag("--force", options->force, "replace an existing file");
    app->callback([options, &work] { work = [options] { return find(*options); }; });
}

void add_markers_refine(CLI::App& markers, Work& work) {
    const auto options = std::make_shared<RefineOptions>();
    CLI::App* app =
        markers.add_subcommand("refine", "move markers to the middle of their dots in an image");
    app->add_option("IMAGE", options->image, "image file")->required();
    app->add_option("MARKERS", options->source, "marker file")->required();
    app->add_option("OUT", options->target, "file to write: mrk or mpt")->required();
    app->add_option("--size", options->size, "side of the box about a marker in pixels")
        ->check(CLI::Range(3, 200))
        ->capture_default_str();
    app->add_option("--method", options->method,
                    "surface: extremum of a quadratic surface; dot: fit of a round dot, for a box "
                    "about twice as wide as the dots")
        ->check(CLI::IsMember({"surface", "dot"}));
    app->add_option("--project", options->project,
                    "project file whose setting markers_refine is the method");
    app->add_flag("--bright", options->bright, "the dots are brighter than the paint");
    app->add_flag("--force", options->force, "replace an existing file");
    app->callback([options, &work] { work = [options] { return refine(*options); }; });
}

}  // namespace vyn::cli
