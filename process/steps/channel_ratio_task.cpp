#include "process/steps/channel_ratio_task.h"

#include "api/resample.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/numbers.h"
#include "process/point/experiment_type.h"
#include "process/point/image_sizes.h"
#include "process/point/marker_frames.h"
#include "process/steps/correct_task.h"
#include "process/steps/ratio_steps.h"

namespace vyn {

namespace names = image_names;

namespace {

/// A mapping that is not there moves nothing.
std::vector<PolyTransform> moving(std::initializer_list<PolyTransform> maps) {
    std::vector<PolyTransform> result;
    for (const PolyTransform& map : maps)
        if (map.n > 0) result.push_back(map);
    return result;
}

bool two_gates() {
    return experiment_type(vyn_db()) == ExperimentType::lifetime;
}

void filter_all(std::initializer_list<std::shared_ptr<const image>*> pictures,
                const FilterOptions& options, TaskContext& context) {
    for (std::shared_ptr<const image>* picture : pictures)
        *picture = std::make_shared<const image>(filtered(**picture, options, context));
}

std::vector<Point> places(const MarkerSet& set) {
    std::vector<Point> points;
    for (const Marker& marker : set.markers)
        if (marker.active) points.push_back({marker.x, marker.y});
    return points;
}

std::string size_text(const image& picture) {
    return picture.name + " has " + std::to_string(picture.width()) + " x " +
           std::to_string(picture.height()) + " pixels";
}

/// Without a mapping between the cameras pixel must lie on pixel.
void require_mapped(const image& signal, const image& reference, const PolyTransform& map) {
    if (map.n > 0 || signal.values().same_size(reference.values())) return;
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    throw IndexError(size_text(signal) + ", but " + size_text(reference) +
                     ": markers must map them to each other; set " +
                     std::string(off_signal.marker_file.path) + " and " +
                     std::string(off_reference.marker_file.path) + ", and " +
                     std::string(keys::markers_enable.path) + " to 1");
}

/// The order of the mapping between the cameras: as the project says, or by the pairs that an
/// affine mapping finds.
int channels_order(const image& signal, const image& reference, MarkerMatchOptions options) {
    const int wanted = read(vyn_db(), keys::channels_order);
    if (wanted >= 0) return wanted;
    options.order = 1;
    return match_markers(signal.markers, reference.markers, options).orders.suggested.value_or(1);
}

void report_consistency(const MapConsistency& consistency) {
    get_log().write(LogLevel::progress,
                    "Consistency of the channels' alignments: root mean square = " +
                        format_general(consistency.rms, 6) +
                        " px, maximum = " + format_general(consistency.max, 6) + " px at " +
                        std::to_string(consistency.points) + " markers");
}

}  // namespace

TaskOutcome ChannelRatioTask::run(TaskContext& context) {
    imagesList& images = get_images();
    const Corrected pictures{
        images.find(names::wind_off_sens_cor), images.find(names::wind_on_sens_cor),
        images.find(names::wind_off_refe_cor), images.find(names::wind_on_refe_cor)};
    const bool wind_off = uses_wind_off(vyn_db(), images);
    if (!pictures.signal_on || !pictures.reference_on ||
        (wind_off && !(pictures.signal_off && pictures.reference_off))) {
        get_log().write(LogLevel::error, "Image not loaded");
        return TaskOutcome::failed;
    }
    warn_of_correlation(vyn_db(), *report_);
    std::vector<image> aligned;
    image ratio =
        wind_off ? ratio_of_ratios(pictures, aligned, context) : ratio_of_gates(pictures, context);
    thin_if_asked(ratio, vyn_db(), context);
    ratio.name = names::ratio;
    images.remove(names::wind_on_sens_aligned);
    images.remove(names::wind_on_refe_aligned);
    for (image& picture : aligned)
        images.add(std::move(picture));
    images.add(std::move(ratio));
    return report_->aligned.value_or(true) ? TaskOutcome::done : TaskOutcome::done_with_errors;
}

image ChannelRatioTask::ratio_of_gates(const Corrected& pictures, TaskContext& context) const {
    Picture gate_1 = pictures.reference_on;
    Picture gate_2 = pictures.signal_on;
    require_same_size(*gate_1, *gate_2);
    if (const auto filter = filter_options(vyn_db())) {
        context.status("Filtering Wind On");
        filter_all({&gate_1, &gate_2}, *filter, context);
    }
    context.status("Calculating I/Iref lifetime");
    image ratio = form_ratio(*gate_1, *gate_2, ratio_limits(vyn_db()), context);
    ratio.markers = gate_2->markers;
    return ratio;
}

/// `aligned` gets the aligned wind-on pictures, when all alignments succeeded.
image ChannelRatioTask::ratio_of_ratios(const Corrected& pictures, std::vector<image>& aligned,
                                        TaskContext& context) {
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    require_same_size(*pictures.signal_off, *pictures.signal_on);
    require_same_size(*pictures.reference_off, *pictures.reference_on);
    const image& frame = *pictures.signal_off;
    const ChannelMaps maps = align(pictures, context);
    require_mapped(frame, *pictures.reference_off, maps.reference_from_signal);

    Picture signal_off = pictures.signal_off;
    Picture signal_on = in_signal_frame(on_signal, pictures.signal_on, frame,
                                        moving({maps.signal_on_from_off}), context);
    Picture reference_off = in_signal_frame(off_reference, pictures.reference_off, frame,
                                            moving({maps.reference_from_signal}), context);
    Picture reference_on =
        in_signal_frame(on_reference, pictures.reference_on, frame,
                        moving({maps.reference_from_signal, maps.reference_on_from_off}), context);
    if (report_->aligned == true) {
        aligned = {*signal_on, *reference_on};
        aligned.front().name = names::wind_on_sens_aligned;
        aligned.back().name = names::wind_on_refe_aligned;
    }
    if (const auto filter = filter_options(vyn_db())) {
        context.status("Filtering Wind Off");
        filter_all({&signal_off, &reference_off}, *filter, context);
        context.status("Filtering Wind On");
        filter_all({&signal_on, &reference_on}, *filter, context);
    }
    context.status(two_gates() ? "Calculating I/Iref lifetime" : "Calculating I/Iref binary");
    get_log().write(LogLevel::progress, ratio_of_ratios_noise);
    return form_ratio_of_ratios({*signal_off, *signal_on, *reference_off, *reference_on},
                                ratio_limits(vyn_db()), context);
}

ChannelMaps ChannelRatioTask::align(const Corrected& pictures, TaskContext& context) {
    ChannelMaps maps;
    ChannelAlignment& channels = report_->channels.emplace();
    if (read(vyn_db(), keys::markers_enable) == 0) return maps;
    context.status("Aligning Images using markers");
    report_->aligned = true;
    MarkerMatchOptions options = match_options(vyn_db());
    maps.signal_on_from_off =
        mapping(*pictures.signal_off, *pictures.signal_on, options, report_->alignment);
    if (two_gates()) {
        maps.reference_on_from_off = maps.signal_on_from_off;
        return maps;
    }
    maps.reference_on_from_off =
        mapping(*pictures.reference_off, *pictures.reference_on, options, channels.reference);
    options.order = channels_order(*pictures.signal_off, *pictures.reference_off, options);
    maps.reference_from_signal =
        mapping(*pictures.signal_off, *pictures.reference_off, options, channels.cameras);
    if (report_->aligned == true) {
        channels.consistency = consistency_of(maps, places(pictures.signal_on->markers));
        report_consistency(*channels.consistency);
    }
    return maps;
}

/// The mapping moved from reference; the identity, with the report's mark, when there is none.
PolyTransform ChannelRatioTask::mapping(const image& reference, const image& moved,
                                        MarkerMatchOptions options,
                                        std::optional<MarkerMatch>& match) {
    match = match_images(reference, moved, options, *report_);
    if (match && match->ok) return match->moved_from_reference;
    get_log().write(LogLevel::error, "Aligning Images FAILED!");
    report_->aligned = false;
    return {};
}

ChannelRatioTask::Picture ChannelRatioTask::in_signal_frame(const RawImage& raw,
                                                            const Picture& corrected,
                                                            const image& frame,
                                                            std::vector<PolyTransform> maps,
                                                            TaskContext& context) const {
    if (maps.empty()) return corrected;
    const Correction correction = correction_of(vyn_db(), raw, {});
    const Distortion lens = lens_of(vyn_db(), correction.camera);
    image taken = *corrected;
    if (!lens.none()) {
        const Picture source = get_images().find(raw.name);
        if (!source)
            throw StateError("State error!",
                             std::string("the image ") + raw.name + " is not loaded any more");
        taken = corrected_intensity(correction, *source, context);
    }
    image moved = resample(taken, frame.width(), frame.height(),
                           camera_row_map(std::move(maps), lens), context);
    moved.markers = frame.markers;
    return std::make_shared<const image>(std::move(moved));
}

}  // namespace vyn
