#include "process/steps/lamp_correction.h"

#include <algorithm>
#include <cmath>

#include "calib/lamp_readings.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/numbers.h"
#include "process/point/experiment_type.h"
#include "process/point/lamp_monitor.h"
#include "process/point/project_paths.h"
#include "process/steps/step_settings.h"

namespace vyn {

namespace {

std::string text_of(const MonitorBox& box) {
    return std::to_string(box.width) + " x " + std::to_string(box.height) + " pixels at (" +
           std::to_string(box.x) + ", " + std::to_string(box.y) + ")";
}

/// The light of a patch wind-on over wind-off. Its variance is that of a mean of n pixels whose own
/// ratios scatter as they do: the patch does not move, so that its texture leaves them.
LightReport light_of_patch(const image& off, const image& on, const MonitorBox& patch) {
    if (patch.width < 1 || patch.height < 1 || patch.x < 0 || patch.y < 0 ||
        patch.x + patch.width > off.width() || patch.y + patch.height > off.height())
        throw AlgoError("Algorithm error!", "the lamp's monitor region of " + text_of(patch) +
                                                " does not lie in the pictures of " +
                                                std::to_string(off.width()) + " x " +
                                                std::to_string(off.height()) + " pixels");
    double sum_off = 0;
    double sum_on = 0;
    double ratios = 0;
    double squares = 0;
    double n = 0;
    for (int y = patch.y; y < patch.y + patch.height; ++y)
        for (int x = patch.x; x < patch.x + patch.width; ++x) {
            const double light = off.values()(x, y);
            if (off.mask()(x, y) != 0 || on.mask()(x, y) != 0 || !(light > 0)) continue;
            const double ratio = double(on.values()(x, y)) / light;
            sum_off += light;
            sum_on += double(on.values()(x, y));
            ratios += ratio;
            squares += ratio * ratio;
            ++n;
        }
    if (n == 0 || !(sum_on > 0))
        throw AlgoError("Algorithm error!", "all pixels of the lamp's monitor region of " +
                                                text_of(patch) + " are excluded in " + off.name +
                                                " or " + on.name);
    LightReport light;
    light.from = "a monitor region of " + text_of(patch);
    light.on_over_off = sum_on / sum_off;
    const double mean = ratios / n;
    if (n > 1) {
        const double scatter = std::max(0.0, squares / n - mean * mean) * n / (n - 1);
        light.variance = scatter / n / (mean * mean);
    }
    return light;
}

std::optional<ClockTime> time_of(const image* raw, const std::string& entered,
                                 std::string_view key) {
    if (entered.empty()) return raw ? raw->taken : std::nullopt;
    const std::optional<ClockTime> time = parse_clock_time(entered);
    if (!time)
        throw AlgoError("Algorithm error!", std::string(key) + " \"" + entered +
                                                "\" is no time: 14:03:20, 2024-05-31T14:03:20 or "
                                                "seconds");
    return time;
}

LightReport light_of_readings(const StepRun& run) {
    dataSetInterface& data = run.session.data;
    const std::string name = read(data, keys::lamp_readings_file);
    if (name.empty())
        throw AlgoError("Algorithm error!", std::string(keys::lamp_readings_file.path) +
                                                " names no readings of the lamp");
    const LampReadings readings =
        read_lamp_readings(find_input(data, name, keys::lamp_readings_file.path));
    const auto at = [&](const char* image_name, const Key<std::string>& key) {
        const auto raw = run.session.images.find(image_name);
        const auto time = time_of(raw.get(), read(data, key), key.path);
        if (!time)
            throw AlgoError("Algorithm error!", std::string(image_name) +
                                                    ": its file does not say when it was taken; "
                                                    "set " +
                                                    std::string(key.path));
        return light_at(readings, *time, image_name);
    };
    LightReport light;
    light.from = "the readings " + readings.file;
    const double off = at(image_names::wind_off_sens, keys::lamp_time_off);
    light.on_over_off = at(image_names::wind_on_sens, keys::lamp_time_on) / off;
    return light;
}

/// Exposure wind-on over wind-off of a channel; 1 where a file does not tell it.
double exposures(const StepRun& run, std::size_t off) {
    const auto first = run.session.images.find(raw_images()[off].name);
    const auto second = run.session.images.find(raw_images()[off + 1].name);
    if (!first || !second || !first->exposure || !second->exposure) return 1;
    return *second->exposure / *first->exposure;
}

}  // namespace

void add_lamp_facts(const StepView& view, StepFacts& facts) {
    const dataSetInterface& data = view.data;
    SettingPaths settings;
    settings.add(keys::lamp_exposure);
    std::vector<std::size_t> looked_at;
    if (read(data, keys::lamp_exposure) != 0)
        for (const std::size_t i : pictures_of_ratio(view))
            if (pictures_of_ratio(view).front() == 0) looked_at.push_back(i);
    if (experiment_type(data) == ExperimentType::single) {
        settings.add(keys::lamp_monitor);
        const std::string monitor = read(data, keys::lamp_monitor);
        if (monitor == "region")
            settings.add(keys::lamp_x, keys::lamp_y, keys::lamp_width, keys::lamp_height);
        if (monitor == "readings") {
            settings.add(keys::lamp_readings_file, keys::lamp_time_off, keys::lamp_time_on);
            facts.told.emplace_back(keys::head_file.path);
            looked_at = {0, 1};
        }
    }
    for (const std::size_t i : looked_at) {
        const char* name = raw_images()[i].name;
        if (std::ranges::find(facts.takes, name, &StepImage::name) == facts.takes.end())
            facts.takes.push_back(
                {.name = name, .need = StepImage::Need::if_there, .use = StepImage::Use::behind});
    }
    for (std::string& path : settings.take())
        facts.settings.push_back(std::move(path));
}

LampCorrection lamp_correction(const StepRun& run, const CorrectedPictures& pictures) {
    dataSetInterface& data = run.session.data;
    LampCorrection correction;
    if (read(data, keys::lamp_exposure) != 0 && pictures[0])
        for (const std::size_t off : {std::size_t{0}, std::size_t{2}}) {
            const double ratio = pictures[off] ? exposures(run, off) : 1;
            if (ratio == 1) continue;
            correction.factors[off + 1] = 1 / ratio;
            if (!correction.report) correction.report.emplace();
            correction.report->exposures += (correction.report->exposures.empty() ? "" : "; ") +
                                            std::string(raw_images()[off + 1].name) +
                                            " was exposed " + format_general(ratio, 6) +
                                            " times as long as " + raw_images()[off].name;
        }
    if (experiment_type(data) != ExperimentType::single) return correction;
    const std::string monitor = read(data, keys::lamp_monitor);
    if (monitor == "none") return correction;
    LightReport light;
    if (monitor == "region") {
        light = light_of_patch(*pictures[0], *pictures[1], lamp_monitor(data));
        // The patch was exposed as the model was.
        correction.factors[1] = 1 / light.on_over_off;
    } else {
        light = light_of_readings(run);
        correction.factors[1] /= light.on_over_off;
    }
    if (correction.report) light.exposures = correction.report->exposures;
    correction.report = light;
    return correction;
}

void apply_lamp_correction(const LampCorrection& correction, CorrectedPictures& pictures) {
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        if (!pictures[i] || correction.factors[i] == 1) continue;
        image scaled = *pictures[i];
        const auto factor = static_cast<float>(correction.factors[i]);
        for (int y = 0; y < scaled.height(); ++y) {
            float* row = scaled.values().row(y);
            for (int x = 0; x < scaled.width(); ++x)
                row[x] *= factor;
        }
        pictures[i] = std::make_shared<const image>(std::move(scaled));
    }
}

}  // namespace vyn
