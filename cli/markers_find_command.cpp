#include <algorithm>
#include <map>
#include <memory>
#include <span>

#include "align/dots/marker_centroid.h"
#include "align/dots/marker_detection.h"
#include "api/image_io.h"
#include "cli/console.h"
#include "cli/detection_options.h"
#include "cli/markers_command.h"
#include "cli/read_arguments.h"
#include "cli/settings.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/project_file.h"
#include "process/point/marker_io.h"

namespace vyn::cli {

namespace {

struct FindOptions {
    std::string image;
    std::string target;
    DetectionArguments detection;
    ImageReadOptions reading;
    bool list = false;
    bool force = false;
};

/// Every candidate with its quality, and its number when it is taken for a dot.
void print_candidates(const DotCandidates& candidates, std::size_t taken, const MarkerSet& set) {
    std::map<std::pair<double, double>, std::int32_t> numbers;
    for (const Marker& marker : set.markers)
        numbers[{marker.x, marker.y}] = marker.id;
    print("number,x,y,diameter,contrast,quality\n");
    for (std::size_t i = 0; i < candidates.dots.size(); ++i) {
        const DetectedDot& dot = candidates.dots[i];
        const std::pair place(dot.fit.centre.x, dot.fit.centre.y);
        std::string line;
        if (i < taken) line = std::to_string(numbers.at(place));
        for (const double value :
             {dot.fit.centre.x, dot.fit.centre.y, 2 * dot.fit.radius, dot.contrast, dot.quality})
            line.append(1, ',').append(format_general(value, 6));
        print(line + "\n");
    }
}

/// How sure the dots are, where there is something to doubt.
std::string doubts(const DotCandidates& candidates, std::size_t taken) {
    std::string text;
    const double worst = candidates.dots[taken - 1].quality;
    if (worst < sure_quality) text += ", the worst of quality " + format_general(worst, 2);
    if (taken < candidates.dots.size())
        text += ", the best left out of " + format_general(candidates.dots[taken].quality, 2);
    return text;
}

ExitStatus find(const FindOptions& options) {
    const DetectionOptions detection = detection_options(options.detection);
    check_output(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    Progress progress;
    const image picture = read_image(options.image, options.reading, progress);
    const DotCandidates candidates = find_candidates(picture, detection, progress);
    const std::size_t taken = taken_count(candidates, detection);
    const MarkerSet set = number_dots(std::span(candidates.dots).first(taken));
    if (set.markers.empty())
        throw AlgoError("No markers found!", options.image + ": no dots of these sizes");
    write_marker_file(options.target, set);
    if (options.list) print_candidates(candidates, taken, set);
    print("found " + std::to_string(taken) + " dots" +
          (detection.expect > 0 ? " of " + std::to_string(detection.expect) : "") +
          doubts(candidates, taken) + "\n");
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
    add_read_arguments(*app, options->reading);
    app->add_flag("--list", options->list,
                  "print every candidate with diameter, contrast and quality as a table");
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
