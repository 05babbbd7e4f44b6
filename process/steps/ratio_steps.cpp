#include "process/steps/ratio_steps.h"

#include <algorithm>

#include "api/thinning.h"
#include "core/keys.h"
#include "core/log.h"

namespace vyn {

RatioLimits ratio_limits(dataSetInterface& data) {
    RatioLimits limits;
    limits.clamp = read(data, keys::filter_threshold) != 0;
    limits.lower = static_cast<float>(read(data, keys::threshold_min));
    limits.upper = static_cast<float>(read(data, keys::threshold_max));
    return limits;
}

MarkerMatchOptions match_options(dataSetInterface& data) {
    MarkerMatchOptions options;
    options.order = read(data, keys::markers_order);
    options.box = read(data, keys::markers_box);
    options.fix_first = read(data, keys::markers_fix);
    options.link = read(data, keys::markers_link);
    options.by_geometry = read(data, keys::markers_geometry) != 0;
    return options;
}

std::optional<FilterOptions> filter_options(dataSetInterface& data) {
    if (read(data, keys::filter_enable) == 0) return std::nullopt;
    FilterOptions options;
    options.type = filter_type(read(data, keys::filter_type));
    options.dx = read(data, keys::filter_dx);
    options.dy = read(data, keys::filter_dy);
    options.min = read(data, keys::filter_min);
    options.max = read(data, keys::filter_max);
    options.fill_percent = read(data, keys::filter_fill);
    options.range_percent = read(data, keys::filter_range);
    options.iterations = read(data, keys::filter_iter);
    return options;
}

void warn_of_correlation(dataSetInterface& data, RunReport& report) {
    if (read(data, keys::qped_enable))
        warn(report, WarningKind::alignment,
             "Alignment by cross-correlation: not available, left out");
}

namespace {

/// As with the marker file of another camera's picture.
void warn_of_markers_outside(const image& picture, RunReport& report) {
    const std::vector<Marker>& markers = picture.markers.markers;
    const auto outside = std::ranges::count_if(markers, [&](const Marker& marker) {
        return marker.active && !(marker.x >= 0 && marker.x < picture.width() && marker.y >= 0 &&
                                  marker.y < picture.height());
    });
    if (outside == 0) return;
    const Warning outside_image{WarningKind::markers,
                                picture.name + ": " + std::to_string(outside) + " of " +
                                    std::to_string(markers.size()) +
                                    " markers lie outside the image; look at its marker file"};
    // Wind-off pictures take part in two alignments.
    if (std::ranges::find(report.warnings, outside_image) == report.warnings.end())
        warn(report, outside_image.kind, outside_image.text);
}

}  // namespace

std::optional<MarkerMatch> match_images(const image& reference, const image& moved,
                                        const MarkerMatchOptions& options, RunReport& report) {
    for (const image* picture : {&reference, &moved}) {
        if (!picture->markers.markers.empty()) continue;
        warn(report, WarningKind::markers,
             picture->name + " has no markers: set its marker file, or switch off " +
                 std::string(keys::markers_enable.path));
        return std::nullopt;
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

void thin_if_asked(image& ratio, dataSetInterface& data, TaskContext& context) {
    if (read(data, keys::filter_thinning) == 0) return;
    const int depth = read(data, keys::filter_thinning_depth);
    context.status("Performing Thinning with depth:" + std::to_string(depth));
    thin(ratio, depth, context);
}

}  // namespace vyn
