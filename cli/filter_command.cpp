#include <memory>

#include <nlohmann/json.hpp>

#include "api/filters.h"
#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/settings.h"
#include "core/version.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"

namespace vyn::cli {

namespace {

struct FilterCommand {
    std::string source;
    std::string target;
    int type = static_cast<int>(FilterType::box);
    bool holes_only = false;
    bool force = false;
    FilterOptions filter;
};

std::string provenance_of(const FilterCommand& command) {
    const FilterOptions& filter = command.filter;
    const nlohmann::json provenance = {{"program", std::string("VynLite ") + program_version},
                                       {"filtered_from", source_file(command.source)},
                                       {"filter",
                                        {{"type", command.type},
                                         {"dx", filter.dx},
                                         {"dy", filter.dy},
                                         {"min", filter.min},
                                         {"max", filter.max},
                                         {"fill", filter.fill_percent},
                                         {"range", filter.range_percent},
                                         {"iterations", filter.iterations},
                                         {"holes_only", command.holes_only}}}};
    return json_text(provenance);
}

ExitStatus filter_file(FilterCommand command) {
    check_target(command.target, command.force ? Overwriting::allowed : Overwriting::refused);
    command.filter.type = filter_type(command.type);
    if (command.holes_only) command.filter.target = FilterTarget::holes;
    InterruptProgress progress;
    const image result = filtered(read_image(command.source, progress), command.filter, progress);
    ImageWriteOptions write_options;
    write_options.provenance = provenance_of(command);
    write_image(result, command.target, write_options, progress);
    return ExitStatus::done;
}

}  // namespace

Work prepare_filter(CLI::App& app, const GlobalOptions&) {
    const auto command = std::make_shared<FilterCommand>();
    FilterOptions& filter = command->filter;
    app.add_option("IN", command->source, "image, in any readable format")->required();
    app.add_option("OUT", command->target, "file to write; the extension picks the format")
        ->required();
    app.add_option("--type", command->type,
                   "0 limits only, 1 box mean, 2 Gaussian mean, 3 Gaussian mean weighted by value "
                   "too, 4 median")
        ->check(CLI::Range(0, static_cast<int>(FilterType::median)))
        ->capture_default_str();
    app.add_option("--dx", filter.dx,
                   "width of the window in pixels; an even one grows by one; below 2: no filtering")
        ->capture_default_str();
    app.add_option("--dy", filter.dy, "its height, likewise")->capture_default_str();
    app.add_option("--min", filter.min, "exclude pixels below before each pass")
        ->capture_default_str();
    app.add_option("--max", filter.max, "set pixels above to this before each pass")
        ->capture_default_str();
    app.add_option("--fill", filter.fill_percent,
                   "fill excluded pixels where less than this percentage of the window is excluded")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str();
    app.add_option("--range", filter.range_percent,
                   "type 3: scale of the weighting by value, percent of the image's span of values")
        ->check(CLI::Range(0, 1000000))
        ->capture_default_str();
    app.add_option("--iterations", filter.iterations, "number of passes")
        ->check(CLI::Range(0, 1000000))
        ->capture_default_str();
    app.add_flag("--holes-only", command->holes_only, "change excluded pixels only; needs --fill");
    app.add_flag("--force", command->force, "replace an existing file");
    return [command] { return filter_file(*command); };
}

}  // namespace vyn::cli
