#include <algorithm>
#include <map>
#include <memory>

#include <glob.h>
#include <nlohmann/json.hpp>

#include "api/frame_average.h"
#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/read_arguments.h"
#include "cli/settings.h"
#include "core/errors.h"
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

/// The files that a pattern means, in the order of their names; a name without a pattern, and one
/// that is a file as it stands, means itself.
std::vector<std::string> files_of(const std::string& pattern) {
    if (pattern.find_first_of("*?[") == pattern.npos || std::filesystem::exists(pattern))
        return {pattern};
    glob_t found{};
    const int failed = ::glob(pattern.c_str(), 0, nullptr, &found);
    std::vector<std::string> files;
    for (std::size_t i = 0; failed == 0 && i < found.gl_pathc; ++i)
        files.emplace_back(found.gl_pathv[i]);
    globfree(&found);
    if (files.empty()) throw FileError("File error!", pattern + ": no file has such a name");
    return files;
}

ExitStatus average_files(const AverageCommand& command) {
    check_target(command.target, command.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    std::vector<image> frames;
    nlohmann::json sources = nlohmann::json::array();
    for (const std::string& pattern : command.sources)
        for (const std::string& file : files_of(pattern)) {
            frames.push_back(read_image(file, command.reading, progress));
            sources.push_back(source_file(file));
        }
    const image result = average(frames, command.average, progress);
    constexpr const char* names[] = {"mean", "median", "clipped"};
    const nlohmann::json provenance = {
        {"program", std::string("VynLite ") + program_version},
        {"averaged_from", std::move(sources)},
        {"method", names[static_cast<std::size_t>(command.average.method)]},
        {"clip", command.average.clip}};
    ImageWriteOptions options;
    options.provenance = json_text(provenance);
    write_image(result, command.target, options, progress);
    print("averaged " + std::to_string(frames.size()) + " pictures\n");
    return ExitStatus::done;
}

}  // namespace

Work prepare_average(CLI::App& app, const GlobalOptions&) {
    using Method = AverageMethod;
    static const std::map<std::string, Method> methods{
        {"mean", Method::mean}, {"median", Method::median}, {"clipped", Method::clipped_mean}};
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
