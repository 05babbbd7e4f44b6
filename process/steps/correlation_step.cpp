#include "process/steps/correlation_step.h"

#include <array>

#include "align/correlation/correlation_images.h"
#include "core/keys.h"
#include "core/log.h"
#include "process/point/experiment_type.h"
#include "process/steps/corrected_pictures.h"
#include "process/steps/step_settings.h"

namespace vyn {

namespace {

constexpr std::array given{image_names::displacement, image_names::displacement_sigma,
                           image_names::displacement_left};

/// A wind-on picture's alignment. `known` is where the markers put it. Nothing, with a warning,
/// when the paint shows too little.
std::optional<CorrelationResult> aligned_by_texture(const StepRun& run, const image& off,
                                                    const image& on,
                                                    const std::optional<ImageMap>& known,
                                                    std::optional<CorrelationReport>& report,
                                                    Progress& progress) {
    StartMapping start;
    if (known) start = [map = *known](Point at) { return map.at(at); };
    CorrelationResult result =
        align_by_correlation(off, on, correlation_options(run.session.data), start, progress);
    CorrelationReport& found = report.emplace();
    found.statistics = result.statistics;
    found.failure = result.failure;
    if (!result.failure.empty()) {
        warn(run.report, WarningKind::alignment,
             "QPED alignment of " + on.name + ": " + result.failure +
                 (known ? "; the alignment by markers stands" : ""));
        return std::nullopt;
    }
    if (known) found.left_after_markers = displacement_left(result, *known);
    for (const std::string& line : report_lines(found))
        get_log().write(LogLevel::progress, "QPED of " + on.name + ": " + line);
    return result;
}

ImageMap map_of(const CorrelationResult& result) {
    return ImageMap().then(std::make_shared<const DisplacementField>(result.field));
}

/// Both or neither of the reference channel's pictures are there.
bool align_reference(const StepRun& run, const CorrectedPictures& pictures, Progress& progress) {
    ChannelAlignment& channels = *run.report.channels;
    std::optional<ImageMap> known;
    if (channels.reference && channels.reference->ok)
        known = ImageMap().then(channels.reference->moved_from_reference);
    const auto result =
        aligned_by_texture(run, *pictures[2], *pictures[3], known, channels.correlation, progress);
    run.alignment.reference_sigma = nullptr;
    if (!result) return known.has_value();
    Progress quiet;
    run.alignment.reference_sigma =
        std::make_shared<const image>(displacement_sigma_image(*result, *pictures[2], quiet));
    ImageMap map = run.alignment.from_frame[2].value_or(ImageMap());
    run.alignment.from_frame[3] = map.then(map_of(*result));
    return true;
}

void publish_displacement(const StepRun& run, const image& off, const CorrelationResult& result,
                          const std::optional<ImageMap>& known, Progress& progress) {
    const auto publish = [&](const char* name, image picture) {
        picture.name = name;
        run.publish(std::move(picture));
    };
    publish(image_names::displacement, displacement_image(result, off, {}, progress));
    publish(image_names::displacement_sigma, displacement_sigma_image(result, off, progress));
    if (known)
        publish(image_names::displacement_left, displacement_image(result, off, *known, progress));
}

}  // namespace

StepFacts correlation_facts(const StepView& view) {
    StepFacts facts;
    SettingPaths settings;
    settings.add(keys::qped_enable);
    for (const char* name : given)
        facts.gives.push_back({name, {}});
    if (read(view.data, keys::qped_enable) != 0) {
        facts.takes = corrected_images(view);
        facts.behind = {experiment_flags};
        if (pictures_of_ratio(view).front() == 0)
            settings.add(keys::qped_global, keys::qped_iter, keys::qped_step, keys::qped_cell);
    }
    facts.settings = settings.take();
    return facts;
}

TaskOutcome align_by_texture(const StepRun& run) {
    dataSetInterface& data = run.session.data;
    const auto forget_results = [&] {
        for (const char* name : given)
            run.session.images.remove(name);
    };
    if (read(data, keys::qped_enable) == 0) {
        forget_results();
        return TaskOutcome::done;
    }
    const auto pictures = corrected_pictures(run);
    if (!pictures) return TaskOutcome::failed;
    const auto& [signal_off, signal_on, reference_off, reference_on] = *pictures;
    if (!signal_off) {
        forget_results();
        return TaskOutcome::done;
    }
    run.context.status("Aligning Images using QPED");
    const std::optional<ImageMap> known = run.alignment.from_frame[1];
    SubProgress signal(run.context, 0, reference_off ? 0.45 : 0.9);
    SubProgress reference(run.context, 0.45, 0.9);
    SubProgress publishing(run.context, 0.9, 1);
    const auto result =
        aligned_by_texture(run, *signal_off, *signal_on, known, run.report.correlation, signal);
    if (result) run.alignment.from_frame[1] = map_of(*result);
    bool aligned = result || known;
    if (experiment_type(data) == ExperimentType::lifetime)
        run.alignment.from_frame[3] = run.alignment.from_frame[1];
    else if (reference_off) {
        // Without markers the cameras' pictures lie on each other.
        const bool cameras = read(data, keys::markers_enable) == 0 || run.alignment.from_frame[2];
        aligned = align_reference(run, *pictures, reference) && cameras && aligned;
    }
    if (!aligned) get_log().write(LogLevel::error, "Aligning Images FAILED!");
    run.report.aligned = aligned;
    forget_results();
    if (result) publish_displacement(run, *signal_off, *result, known, publishing);
    return TaskOutcome::done;
}

}  // namespace vyn
