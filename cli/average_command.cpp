#include <algorithm>
#include <map>
#include <memory>

#include <nlohmann/json.hpp>

#include "api/frame_average.h"
#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/read_arguments.h"
#include "cli/settings.h"
#include "core/errors.h"
#include "core/file_names.h"
#include "core/version.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"

namespace vyn::cli {

namespace {

struct AverageCommand {
    std::string target;
    std::vector<std::string> sources;
    AverageOptions average;
    ImageReadOptions reading;
    bool force = false;
};

/// Those of a name or pattern.
std::vector<std::filesystem::path> files_of(const std::string& name) {
    std::vector<std::filesystem::path> files = files_named(name);
    if (files.empty()) throw FileError("File error!", name + ": no file has such a name");
    return files;
}

ExitStatus average_files(const AverageCommand& command) {
    check_target(command.target, command.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    std::vector<image> frames;
    nlohmann::json sources = nlohmann::json::array();
    for (const std::string& pattern : command.sources)
        for (const std::filesystem::path& file : files_of(pattern)) {
            frames.push_back(read_image(file, command.reading, progress));
            sources.push_back(source_file(file.string()));
        }
    const image result = average(frames, command.average, progress);
    const nlohmann::json provenance = {
        {"program", std::string("VynLite ") + program_version},
        {"averaged_from", std::move(sources)},
        {"method", average_method_names.at(static_cast<std::size_t>(command.average.method))},
        {"clip", command.average.clip}};
    ImageWriteOptions options;
    options.provenance = json_text(provenance);
    write_image(result, command.target, options, progress);
    print("averaged " + std::to_string(frames.size()) + " pictures\n");
    return ExitStatus::done;
}

}  // namespace

Work prepare_average(CLI::App& app, const GlobalOptions&) {
    static const std::map<std::string, AverageMethod> methods = [] {
        std::map<std::string, AverageMethod> all;
        for (std::size_t i = 0; i < average_method_names.size(); ++i)
            all[average_method_names.at(i)] = static_cast<AverageMethod>(i);
        return all;
    }();
    const auto command = std::make_shared<AverageCommand>();
    app.add_option("OUT", command->target,
                   "file to write; a field file (.imp) keeps how the pictures scatter")
        ->required();
    app.add_option("IN", command->sources, "images of one view, or patterns such as \"run*.tif\"")
        ->required();
    app.add_option("--method", command->average.method,
                   "mean, median, or clipped: mean without what is far from the median; without it "
                   "mean")
        ->transform(CLI::CheckedTransformer(methods).description("mean, median or clipped"));
    app.add_option("--clip", command->average.clip, "clipped: how far, in standard deviations")
        ->check(CLI::Range(0.1, 1000.0))
        ->capture_default_str();
    add_read_arguments(app, command->reading);
    app.add_flag("--force", command->force, "replace an existing file");
    return [command] { return average_files(*command); };
}

}  // namespace vyn::cli
