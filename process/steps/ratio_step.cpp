#include "process/steps/ratio_step.h"

#include <algorithm>
#include <utility>

#include "api/resample.h"
#include "api/thinning.h"
#include "core/errors.h"
#include "core/log.h"
#include "process/point/experiment_type.h"
#include "process/steps/correct_step.h"
#include "process/steps/corrected_pictures.h"
#include "process/steps/lamp_correction.h"
#include "process/steps/ratio_pictures.h"
#include "process/steps/step_settings.h"

namespace vyn {

namespace names = image_names;

namespace {

using Picture = std::shared_ptr<const image>;

/// One channel may be sampled twice, as undistorted and as aligned picture.
enum class Sampling { undistorted_again, once };

Sampling sampling_of(dataSetInterface& data) {
    return samples_twice(data) ? Sampling::undistorted_again : Sampling::once;
}

std::string size_text(const image& picture) {
    return picture.name + " has " + std::to_string(picture.width()) + " x " +
           std::to_string(picture.height()) + " pixels";
}

/// Without a mapping between the cameras pixel must lie on pixel.
void require_mapped(const CorrectedPictures& pictures, const Alignment& alignment) {
    const Picture& signal = pictures[0];
    const Picture& reference = pictures[2];
    if (!reference || alignment.from_frame[2] || signal->values().same_size(reference->values()))
        return;
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    throw IndexError(size_text(*signal) + ", but " + size_text(*reference) +
                     ": markers must map them to each other; set " +
                     std::string(off_signal.marker_file.path) + " and " +
                     std::string(off_reference.marker_file.path) + ", and " +
                     std::string(keys::markers_enable.path) + " to 1");
}

/// A camera picture, corrected but as the camera saw it.
image taken_by_camera(const StepRun& run, const Correction& correction) {
    const Picture source = run.session.images.find(correction.source);
    if (!source)
        throw StateError("State error!",
                         "the image " + correction.source + " is not loaded any more");
    image taken = corrected_intensity(correction, *source, run.session, run.context);
    if (source->has_region()) taken.share_region(*source);
    return taken;
}

/// The pictures that the alignment moves, sampled in the frame of the results.
void sample_in_frame(const StepRun& run, Sampling sampling, CorrectedPictures& pictures) {
    const image& frame = *pictures.front();
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        if (!pictures[i] || !run.alignment.from_frame[i]) continue;
        ImageMap map = *run.alignment.from_frame[i];
        std::optional<image> taken;
        if (sampling == Sampling::once) {
            const Correction correction = correction_of(run.session.data, raw_images()[i]);
            const Distortion lens = lens_of_correction(run.session.data, correction);
            if (!lens.none()) taken = taken_by_camera(run, correction);
            map.then(lens);
        }
        image moved = resample(taken ? *taken : *pictures[i], frame.width(), frame.height(),
                               map.rows(), run.context);
        moved.markers = frame.markers;
        pictures[i] = std::make_shared<const image>(std::move(moved));
    }
}

void thin_if_asked(image& ratio, dataSetInterface& data, TaskContext& context) {
    if (read(data, keys::filter_thinning) == 0) return;
    const int depth = read(data, keys::filter_thinning_depth);
    context.status("Performing Thinning with depth:" + std::to_string(depth));
    thin(ratio, depth, context);
}

/// What sampling once looks at again, behind the corrected pictures.
void add_camera_pictures(const StepView& view, StepFacts& facts) {
    const auto look_at = [&](const char* name) {
        facts.takes.push_back(
            {.name = name, .need = StepImage::Need::if_there, .use = StepImage::Use::behind});
    };
    SettingPaths behind;
    for (const std::size_t i : pictures_of_ratio(view)) {
        if (i == 0) continue;
        const RawImage& raw = raw_images()[i];
        const RawImage& taker = camera_partner(view.data, raw);
        look_at(raw.name);
        look_at(raw.dark_name);
        look_at(taker.flat_name);
        behind.add(raw.dark_level);
        behind.add(taker.camera, {"cx", "cy", "a2", "a4"});
        facts.told.emplace_back(taker.camera);
    }
    behind.add(keys::spline_degree, keys::spline_edges);
    for (std::string& path : behind.take())
        facts.behind.push_back(std::move(path));
}

}  // namespace

bool samples_twice(dataSetInterface& data) {
    return experiment_type(data) == ExperimentType::single && read(data, keys::resample_once) == 0;
}

StepFacts ratio_facts(const StepView& view) {
    const dataSetInterface& data = view.data;
    const ExperimentType type = experiment_type(data);
    StepFacts facts;
    facts.takes = corrected_images(view);
    facts.behind = {experiment_flags};
    SettingPaths settings;
    settings.add(keys::filter_enable);
    if (read(data, keys::filter_enable) != 0)
        settings.add(keys::filter_type, keys::filter_dx, keys::filter_dy, keys::filter_min,
                     keys::filter_max, keys::filter_iter, keys::filter_fill, keys::filter_range);
    if (type == ExperimentType::single) settings.add(keys::resample_once);
    facts.settings = settings.take();
    if (type != ExperimentType::single || read(data, keys::resample_once) != 0)
        add_camera_pictures(view, facts);

    add_lamp_facts(view, facts);
    SettingPaths of_ratio;
    of_ratio.add(keys::filter_threshold, keys::filter_thinning);
    if (read(data, keys::filter_threshold) != 0)
        of_ratio.add(keys::threshold_min, keys::threshold_max);
    if (read(data, keys::filter_thinning) != 0) of_ratio.add(keys::filter_thinning_depth);
    for (const RawImage& raw : raw_images())
        if (raw.aligned_name && (type != ExperimentType::single || &raw == &raw_images()[1]))
            facts.gives.push_back({raw.aligned_name, {}});
    facts.gives.push_back({names::ratio, of_ratio.take()});
    return facts;
}

TaskOutcome form_ratio_image(const StepRun& run) {
    dataSetInterface& data = run.session.data;
    imagesList& images = run.session.images;
    auto found = corrected_pictures(run);
    if (!found) return TaskOutcome::failed;
    CorrectedPictures pictures = std::move(*found);
    require_mapped(pictures, run.alignment);
    const LampCorrection lamp = lamp_correction(run, pictures);  // its patch does not move
    const ExperimentType type = experiment_type(data);
    const Sampling sampling = sampling_of(data);
    const std::optional<FilterOptions> filter = filter_options(data);

    if (sampling == Sampling::undistorted_again) filter_pictures(pictures, filter, run.context);
    if (pictures.front()) sample_in_frame(run, sampling, pictures);
    std::vector<image> aligned;
    if (run.report.aligned == true)
        for (std::size_t i = 0; i < pictures.size(); ++i)
            if (pictures[i] && pictures.front() && raw_images()[i].aligned_name)
                aligned.emplace_back(*pictures[i]).name = raw_images()[i].aligned_name;
    if (sampling == Sampling::once) filter_pictures(pictures, filter, run.context);
    apply_lamp_correction(lamp, pictures);
    run.report.light = lamp.report;
    if (lamp.report) get_log().write(LogLevel::progress, light_words(*lamp.report));
    image ratio = ratio_of(pictures, ratio_limits(data), type, run.context);
    exclude_outside_regions(pictures, ratio);
    thin_if_asked(ratio, data, run.context);
    ratio.name = names::ratio;

    for (const RawImage& raw : raw_images())
        if (raw.aligned_name) images.remove(raw.aligned_name);
    for (image& picture : aligned)
        run.publish(std::move(picture));
    run.publish(std::move(ratio));
    return unaligned_text(run.report).empty() ? TaskOutcome::done : TaskOutcome::done_with_errors;
}

}  // namespace vyn
