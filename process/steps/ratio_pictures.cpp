#include "process/steps/ratio_pictures.h"

#include <utility>

#include "core/log.h"

namespace vyn {

void filter_pictures(CorrectedPictures& pictures, const std::optional<FilterOptions>& filter,
                     TaskContext& context) {
    if (!filter) return;
    const auto filter_pair = [&](const char* status, std::size_t signal, std::size_t reference) {
        if (pictures[signal]) context.status(status);
        for (const std::size_t i : {signal, reference})
            if (pictures[i])
                pictures[i] =
                    std::make_shared<const image>(filtered(*pictures[i], *filter, context));
    };
    filter_pair("Filtering Wind Off", 0, 2);
    filter_pair("Filtering Wind On", 1, 3);
}

image ratio_of(const CorrectedPictures& pictures, const RatioLimits& limits,
               const ExperimentType type, TaskContext& context) {
    const auto& [signal_off, signal_on, reference_off, reference_on] = pictures;
    if (type == ExperimentType::single) {
        context.status("Calculating I/Iref single");
        return form_ratio(*signal_off, *signal_on, limits, context);
    }
    context.status(type == ExperimentType::lifetime ? "Calculating I/Iref lifetime"
                                                    : "Calculating I/Iref binary");
    if (!signal_off) {
        image ratio = form_ratio(*reference_on, *signal_on, limits, context);
        ratio.markers = signal_on->markers;
        return ratio;
    }
    get_log().write(LogLevel::progress, ratio_of_ratios_noise);
    return form_ratio_of_ratios({*signal_off, *signal_on, *reference_off, *reference_on}, limits,
                                context);
}

void exclude_outside_regions(const CorrectedPictures& pictures, image& ratio) {
    for (const auto& picture : pictures) {
        if (!picture || !picture->has_region() ||
            !picture->region().same_size(std::as_const(ratio).mask()))
            continue;
        for (int y = 0; y < ratio.height(); ++y) {
            const std::uint8_t* region = picture->region().row(y);
            std::uint8_t* mask = ratio.mask().row(y);
            for (int x = 0; x < ratio.width(); ++x)
                if (region[x] == 0) mask[x] = 1;
        }
    }
}

}  // namespace vyn
