#include "process/steps/align_step.h"

#include <algorithm>

#include "align/channel_maps.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/numbers.h"
#include "process/point/experiment_type.h"
#include "process/steps/corrected_pictures.h"
#include "process/steps/step_settings.h"

namespace vyn {

namespace {

/// As with the marker file of another camera's picture.
void warn_of_markers_outside(const image& picture, RunReport& report) {
    const std::vector<Marker>& markers = picture.markers.markers;
    const auto active = std::ranges::count_if(markers, &Marker::active);
    const auto outside = std::ranges::count_if(markers, [&](const Marker& marker) {
        return marker.active && !(marker.x >= 0 && marker.x < picture.width() && marker.y >= 0 &&
                                  marker.y < picture.height());
    });
    if (outside == 0) return;
    const Warning outside_image{
        WarningKind::markers,
        picture.name + ": " +
            (outside == active ? "all " + std::to_string(active)
                               : std::to_string(outside) + " of " + std::to_string(active)) +
            " markers lie outside the image; look at its marker file"};
    // Wind-off pictures take part in two alignments.
    if (std::ranges::find(report.warnings, outside_image) == report.warnings.end())
        warn(report, outside_image.kind, outside_image.text);
}

/// Matches the markers of two images; log and warnings are written. Nothing when one of the images
/// has no markers to be paired by a method that there is.
std::optional<MarkerMatch> match_images(const image& reference, const image& moved,
                                        const MarkerMatchOptions& options, RunReport& report) {
    for (const image* picture : {&reference, &moved}) {
        if (!picture->markers.markers.empty()) continue;
        warn(report, WarningKind::markers,
             picture->name + " has no markers: set its marker file, or switch off " +
                 std::string(keys::markers_enable.path));
        if (options.by_geometry || is_pairing_method(options.link)) return std::nullopt;
    }
    for (const image* picture : {&reference, &moved})
        warn_of_markers_outside(*picture, report);
    MarkerMatch match = match_markers(reference.markers, moved.markers, options);
    for (const std::string& note : match.notes)
        warn(report, WarningKind::alignment, note);
    for (const std::string& line : report_lines(match, reference.name, moved.name))
        get_log().write(LogLevel::progress, line);
    for (const std::string& line : order_lines(match.orders))
        get_log().write(LogLevel::progress, line);
    if (!match.ok) warn(report, WarningKind::alignment, match.failure);
    return match;
}

/// The pictures of a point that found no mapping.
struct Unmapped {
    bool any = false;
    bool copies_do = true;  ///< for want of pairs only, and each fits where it would be copied
};

/// The mapping moved from reference; nothing when there is none.
std::optional<PolyTransform> mapping(const image& reference, const image& moved,
                                     const MarkerMatchOptions& options, RunReport& report,
                                     std::optional<MarkerMatch>& match, Unmapped& unmapped) {
    match = match_images(reference, moved, options, report);
    if (match && match->ok) return match->moved_from_reference;
    unmapped.any = true;
    if (match && match->failure != no_pairs_text) unmapped.copies_do = false;
    if (!reference.values().same_size(moved.values())) unmapped.copies_do = false;
    return std::nullopt;
}

/// Mappings gone through one after the other; nothing when none is there.
std::optional<ImageMap> path_through(std::initializer_list<std::optional<PolyTransform>> maps) {
    std::optional<ImageMap> path;
    for (const std::optional<PolyTransform>& map : maps) {
        if (!map) continue;
        if (!path) path.emplace();
        path->then(*map);
    }
    return path;
}

/// Asks once, however many pictures have no pairs.
bool copy_accepted(const Unmapped& unmapped, TaskContext& context) {
    if (!unmapped.any || !unmapped.copies_do) return false;
    context.message(no_pairs_text);
    return context.question("Would You like to copy Image?");
}

/// How well the mappings of two cameras agree, at the markers of the wind-on picture.
MapConsistency consistency(const ChannelMaps& maps, const MarkerSet& signal_on) {
    std::vector<Point> points;
    for (const Marker& marker : signal_on.markers)
        if (marker.active) points.push_back({marker.x, marker.y});
    const MapConsistency result = consistency_of(maps, points);
    get_log().write(LogLevel::progress,
                    "Consistency of the channels' alignments: root mean square = " +
                        format_general(result.rms, 6) +
                        " px, maximum = " + format_general(result.max, 6) + " px at " +
                        std::to_string(result.points) + " markers");
    return result;
}

/// The mappings that a second camera adds.
void align_reference_camera(const StepRun& run, const CorrectedPictures& pictures,
                            const std::optional<PolyTransform>& signal_on, Unmapped& unmapped) {
    const auto& [signal_off_picture, signal_on_picture, reference_off_picture,
                 reference_on_picture] = pictures;
    RunReport& report = run.report;
    MarkerMatchOptions options = match_options(run.session.data);
    const auto reference_on = mapping(*reference_off_picture, *reference_on_picture, options,
                                      report, report.channels->reference, unmapped);
    options.order =
        order_of_mapping(read(run.session.data, keys::channels_order), signal_off_picture->markers,
                         reference_off_picture->markers, options);
    const auto cameras = mapping(*signal_off_picture, *reference_off_picture, options, report,
                                 report.channels->cameras, unmapped);
    run.alignment.from_frame[2] = path_through({cameras});
    run.alignment.from_frame[3] = path_through({cameras, reference_on});
    if (signal_on && reference_on && cameras)
        report.channels->consistency =
            consistency({*signal_on, *reference_on, *cameras}, signal_on_picture->markers);
}

}  // namespace

StepFacts align_facts(const StepView& view) {
    StepFacts facts;
    SettingPaths settings;
    settings.add(keys::markers_enable, keys::qped_enable);
    facts.behind = {experiment_flags};
    const std::vector<std::size_t> pictures = pictures_of_ratio(view);
    facts.takes = corrected_images(view);
    if (read(view.data, keys::markers_enable) != 0 && pictures.front() == 0) {
        settings.add(keys::markers_order, keys::markers_box, keys::markers_geometry);
        if (read(view.data, keys::markers_geometry) == 0)
            settings.add(keys::markers_fix, keys::markers_link);
        if (experiment_type(view.data) == ExperimentType::binary)
            settings.add(keys::channels_order);
    }
    facts.settings = settings.take();
    return facts;
}

TaskOutcome align_by_markers(const StepRun& run) {
    dataSetInterface& data = run.session.data;
    RunReport& report = run.report;
    const auto pictures = corrected_pictures(run);
    if (!pictures) return TaskOutcome::failed;
    const auto& [signal_off, signal_on, reference_off, reference_on] = *pictures;
    const bool aligns = read(data, keys::markers_enable) != 0;
    const bool alone = read(data, keys::qped_enable) == 0;
    if (!signal_off) return TaskOutcome::done;
    if (reference_off) report.channels.emplace();
    if (!aligns) return TaskOutcome::done;

    run.context.status("Aligning Images using markers");
    Unmapped unmapped;
    const auto signal_map =
        mapping(*signal_off, *signal_on, match_options(data), report, report.alignment, unmapped);
    run.alignment.from_frame[1] = path_through({signal_map});
    if (experiment_type(data) == ExperimentType::lifetime)
        run.alignment.from_frame[3] = run.alignment.from_frame[1];
    else if (reference_off)
        align_reference_camera(run, *pictures, signal_map, unmapped);
    // The texture may still align what the markers do not.
    report.copied = alone && copy_accepted(unmapped, run.context);
    report.aligned = !unmapped.any || report.copied;
    if (alone && report.aligned == false)
        get_log().write(LogLevel::error, "Aligning Images FAILED!");
    return TaskOutcome::done;
}

}  // namespace vyn
