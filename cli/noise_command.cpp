#include <filesystem>
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/settings.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "process/point/project_lock.h"
#include "process/project/project_tasks.h"
#include "uncertainty/photon_transfer.h"

namespace vyn::cli {

namespace {

struct NoiseOptions {
    std::vector<std::string> frames;
    std::string dark;
    double dark_level = 0;
    std::string project;
    std::string camera = "signal";
    bool json = false;
};

void store(const NoiseOptions& options, const PhotonTransfer& measured) {
    simpleNamedDataSet data;
    const auto lock = lock_project(options.project);
    load_xml(data, options.project.c_str());
    const bool signal = options.camera == "signal";
    write(data, signal ? keys::sens_noise_gain : keys::refe_noise_gain, measured.gain);
    write(data, signal ? keys::sens_noise_read : keys::refe_noise_read, measured.read);
    save_xml(data, options.project.c_str());
}

std::string as_json(const PhotonTransfer& measured) {
    nlohmann::ordered_json classes = nlohmann::json::array();
    for (const VariancePoint& point : measured.points)
        classes.push_back({{"signal", point.signal}, {"variance", point.variance}});
    const nlohmann::ordered_json text{{"gain", measured.gain},
                                      {"gain_error", measured.gain_error},
                                      {"read", measured.read},
                                      {"read_error", measured.read_error},
                                      {"largest_departure", measured.line.largest_departure},
                                      {"departs_at", measured.line.departs_at},
                                      {"classes", std::move(classes)}};
    return text.dump(2) + "\n";
}

ExitStatus measure(const NoiseOptions& options) {
    if (is_container(options.project))
        throw UsageError("--into " + options.project + ": give a project file (.xml)");
    InterruptProgress progress;
    std::vector<image> frames;
    for (const std::string& file : options.frames)
        frames.push_back(read_image(file, progress));
    std::optional<image> dark;
    if (!options.dark.empty()) dark = read_image(options.dark, progress);
    const PhotonTransfer measured =
        photon_transfer(frames, dark ? &*dark : nullptr, options.dark_level);
    if (options.json) {
        print(as_json(measured));
    } else {
        std::string text;
        for (const std::string& line : report_lines(measured))
            text += line + "\n";
        print(text);
    }
    if (!options.project.empty()) store(options, measured);
    return ExitStatus::done;
}

}  // namespace

Work prepare_noise(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<NoiseOptions>();
    app.add_option("FRAMES", options->frames,
                   "frames of still, differently bright scenes such as flats, two or more of each "
                   "one after the other; single frames, not averages")
        ->required();
    auto* dark = app.add_option("--dark", options->dark, "picture without light, taken off all");
    app.add_option("--dark-level", options->dark_level, "counts without light, likewise")
        ->excludes(dark);
    app.add_option("--into", options->project,
                   "write gain and read-out noise into this project file (.xml)");
    app.add_option("--camera", options->camera, "whose they are in the project")
        ->check(CLI::IsMember({"signal", "reference"}))
        ->capture_default_str();
    app.add_flag("--json", options->json, "print as JSON");
    return [options] { return measure(*options); };
}

}  // namespace vyn::cli
