#include <memory>

#include "align/marker_alignment.h"
#include "cli/console.h"
#include "cli/markers_command.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "process/point/marker_io.h"

namespace vyn::cli {

namespace {

struct PairOptions {
    std::string wind_off;
    std::string wind_on;
    int order = 1;
    int box = 16;
    std::optional<int> height;
};

/// One line for each pair: both positions and what the mapping leaves.
std::string pair_lines(const MarkerMatch& match) {
    const auto number = [](double value) { return format_fixed(value, 3); };
    std::string text = "number  x  y  x-on  y-on  dx  dy\n";
    for (std::size_t i = 0; i < match.pairs.size(); ++i) {
        const MarkerPair& pair = match.pairs[i];
        text += std::to_string(pair.reference_id);
        for (const double value : {pair.reference.x, pair.reference.y, pair.moved.x, pair.moved.y,
                                   match.residuals[i].x, match.residuals[i].y})
            text += "  " + number(value);
        text += '\n';
    }
    return text;
}

ExitStatus pair(const PairOptions& options) {
    const MarkerSet wind_off =
        read_marker_file(options.wind_off, height_for(options.wind_off, options.height));
    const MarkerSet wind_on =
        read_marker_file(options.wind_on, height_for(options.wind_on, options.height));
    const MarkerMatch match = match_markers(
        wind_off, wind_on, {.order = options.order, .box = options.box, .by_geometry = true});
    if (!match.ok) throw AlgoError("Pairing failed!", match.failure);
    std::string text = pair_lines(match);
    for (const std::string& note : match.notes)
        text += note + "\n";
    for (const std::string& line : report_lines(match, options.wind_off, options.wind_on))
        text += line + "\n";
    for (const std::string& line : order_lines(match.orders))
        text += line + "\n";
    print(text);
    return ExitStatus::done;
}

}  // namespace

void add_markers_pair(CLI::App& markers, Work& work) {
    const auto options = std::make_shared<PairOptions>();
    CLI::App* app = markers.add_subcommand(
        "pair", "pair the markers of two images by their places and fit the mapping");
    app->add_option("OFF", options->wind_off, "marker file of the wind-off image")->required();
    app->add_option("ON", options->wind_on, "marker file of the wind-on image")->required();
    app->add_option("--order", options->order, "order of the mapping")
        ->check(CLI::Range(0, 3))
        ->capture_default_str();
    app->add_option("--box", options->box, "half-size of the search window in pixels")
        ->check(CLI::Range(1, 10000))
        ->capture_default_str();
    app->add_option("--height", options->height, "height of the images in pixels, for inm")
        ->check(CLI::Range(1, 1000000));
    app->callback([options, &work] { work = [options] { return pair(*options); }; });
}

}  // namespace vyn::cli
