#include "process/ratio_task.h"

#include "api/field_conversion.h"
#include "api/filters.h"
#include "api/resample.h"
#include "api/thinning.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "process/image_sizes.h"

namespace vyn {

namespace {

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

FilterOptions filter_options(dataSetInterface& data) {
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

void filter_both(std::shared_ptr<const image>& wind_off, std::shared_ptr<const image>& wind_on,
                 const FilterOptions& options, TaskContext& context) {
    const auto apply = [&](std::shared_ptr<const image>& picture) {
        picture = std::make_shared<const image>(filtered(*picture, options, context));
    };
    context.status("Filtering Wind Off");
    apply(wind_off);
    context.status("Filtering Wind On");
    apply(wind_on);
}

}  // namespace

TaskOutcome RatioTask::run(TaskContext& context) {
    imagesList& images = get_images();
    dataSetInterface& data = vyn_db();
    auto wind_off = images.find(names_.wind_off);
    auto wind_on = images.find(names_.wind_on);
    if (!wind_off || !wind_on) {
        get_log().write(2, "Image not loaded");
        return TaskOutcome::failed;
    }
    require_same_size(*wind_off, *wind_on);
    if (read(data, keys::qped_enable))
        warn(*report_, "Alignment by cross-correlation: not available, left out");
    if (read(data, keys::filter_enable))
        filter_both(wind_off, wind_on, filter_options(data), context);

    std::shared_ptr<const image> aligned;
    if (read(data, keys::markers_enable)) {
        aligned = align_by_markers(*wind_off, wind_on, context);
        report_->aligned = aligned != nullptr;
        if (!aligned) {
            get_log().write(2, "Aligning Images FAILED!");
            if (report_->alignment && accept_copy(*report_->alignment, context)) {
                image copy = *wind_on;
                copy.name = names_.aligned;
                aligned = std::make_shared<const image>(std::move(copy));
            }
        }
    }

    context.status("Calculating I/Iref single");
    image ratio = form_ratio(*wind_off, aligned ? *aligned : *wind_on, ratio_limits(data), context);
    if (read(data, keys::filter_thinning)) {
        const int depth = read(data, keys::filter_thinning_depth);
        context.status("Performing Thinning with depth:" + std::to_string(depth));
        thin(ratio, depth, context);
    }
    ratio.name = names_.ratio;
    images.remove(names_.aligned);
    if (aligned) images.add(std::move(aligned));
    images.add(std::move(ratio));
    return report_->aligned.value_or(true) ? TaskOutcome::done : TaskOutcome::done_with_errors;
}

std::shared_ptr<const image> RatioTask::align_by_markers(const image& wind_off,
                                                         std::shared_ptr<const image> wind_on,
                                                         TaskContext& context) {
    context.status("Aligning Images using markers");
    for (const image* picture : {&wind_off, wind_on.get()}) {
        if (!picture->markers.markers.empty()) continue;
        warn(*report_, picture->name + " has no markers: set its marker file, or switch off " +
                           std::string(keys::markers_enable.path));
        return nullptr;
    }

    dataSetInterface& data = vyn_db();
    const MarkerMatch match =
        match_markers(wind_off.markers, wind_on->markers, match_options(data));
    for (const std::string& note : match.notes)
        warn(*report_, note);
    for (const std::string& line : report_lines(match, wind_off.name, wind_on->name))
        get_log().write(4, line);
    for (const std::string& line : order_lines(match.orders))
        get_log().write(4, line);
    report_->alignment = match;
    if (!match.ok) {
        warn(*report_, match.failure);
        return nullptr;
    }

    image aligned = resample(*wind_on, wind_off.width(), wind_off.height(),
                             row_map(match.moved_from_reference), context);
    aligned.name = names_.aligned;
    aligned.markers = wind_off.markers;
    return std::make_shared<const image>(std::move(aligned));
}

bool RatioTask::accept_copy(const MarkerMatch& match, TaskContext& context) const {
    if (!match.pairs.empty()) return false;
    context.message("There are no pairs to transform Image.\nCopy is available only.");
    return context.question("Would You like to copy Image?");
}

}  // namespace vyn
