#include "process/steps/ratio_task.h"

#include "api/field_conversion.h"
#include "api/filters.h"
#include "api/image_list.h"
#include "api/resample.h"
#include "core/keys.h"
#include "core/log.h"
#include "process/point/image_sizes.h"
#include "process/steps/ratio_steps.h"

namespace vyn {

TaskOutcome RatioTask::run(TaskContext& context) {
    imagesList& images = get_images();
    dataSetInterface& data = vyn_db();
    auto wind_off = images.find(names_.wind_off);
    auto wind_on = images.find(names_.wind_on);
    if (!wind_off || !wind_on) {
        get_log().write(LogLevel::error, "Image not loaded");
        return TaskOutcome::failed;
    }
    require_same_size(*wind_off, *wind_on);
    warn_of_correlation(data, *report_);
    if (const auto filter = filter_options(data)) {
        context.status("Filtering Wind Off");
        wind_off = std::make_shared<const image>(filtered(*wind_off, *filter, context));
        context.status("Filtering Wind On");
        wind_on = std::make_shared<const image>(filtered(*wind_on, *filter, context));
    }

    std::shared_ptr<const image> aligned;
    if (read(data, keys::markers_enable)) {
        aligned = align_by_markers(*wind_off, wind_on, context);
        report_->aligned = aligned != nullptr;
        if (!aligned) {
            get_log().write(LogLevel::error, "Aligning Images FAILED!");
            if (report_->alignment && accept_copy(*report_->alignment, context)) {
                image copy = *wind_on;
                copy.name = names_.aligned;
                aligned = std::make_shared<const image>(std::move(copy));
            }
        }
    }

    context.status("Calculating I/Iref single");
    image ratio = form_ratio(*wind_off, aligned ? *aligned : *wind_on, ratio_limits(data), context);
    thin_if_asked(ratio, data, context);
    ratio.name = names_.ratio;
    images.remove(names_.aligned);
    if (aligned) images.add(std::move(aligned));
    images.add(std::move(ratio));
    return report_->aligned.value_or(true) ? TaskOutcome::done : TaskOutcome::done_with_errors;
}

std::shared_ptr<const image> RatioTask::align_by_markers(
    const image& wind_off, const std::shared_ptr<const image>& wind_on, TaskContext& context) {
    context.status("Aligning Images using markers");
    report_->alignment = match_images(wind_off, *wind_on, match_options(vyn_db()), *report_);
    if (!report_->alignment || !report_->alignment->ok) return nullptr;

    image aligned = resample(*wind_on, wind_off.width(), wind_off.height(),
                             row_map(report_->alignment->moved_from_reference), context);
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
