#include "cli/detection_options.h"

#include "cli/commands.h"
#include "core/numbers.h"

namespace vyn::cli {

void add_detection_options(CLI::App& app, DetectionArguments& arguments) {
    app.add_flag("--bright", arguments.bright, "the dots are brighter than the paint");
    app.add_option("--size", arguments.size,
                   "MIN..MAX: diameters of the dots in pixels; without it 3..12");
    app.add_option("--expect", arguments.expect, "number of dots: keep so many of the surest")
        ->check(CLI::Range(1, 100000));
    app.add_option("--cut", arguments.cut,
                   "least quality of a dot, 0 to 1; without it and --expect: at the gap of the "
                   "qualities")
        ->check(CLI::Range(0.0, 1.0));
}

DetectionOptions detection_options(const DetectionArguments& arguments) {
    DetectionOptions options;
    options.polarity = arguments.bright ? DotPolarity::bright : DotPolarity::dark;
    options.expect = arguments.expect;
    options.cut = arguments.cut;
    if (arguments.size.empty()) return options;

    const std::size_t dots = arguments.size.find("..");
    const auto smallest = parse_double(arguments.size.substr(0, dots));
    const auto largest =
        dots == std::string::npos ? std::nullopt : parse_double(arguments.size.substr(dots + 2));
    if (!smallest || !largest || !(*smallest >= min_dot_size) || !(*largest >= *smallest) ||
        !(*largest <= max_dot_size))
        throw UsageError("--size " + arguments.size + ": expected MIN..MAX, two diameters from " +
                         format_double(min_dot_size) + " to " + format_double(max_dot_size) +
                         " pixels");
    options.min_size = *smallest;
    options.max_size = *largest;
    return options;
}

}  // namespace vyn::cli
