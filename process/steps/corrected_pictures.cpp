#include "process/steps/corrected_pictures.h"

#include "core/keys.h"
#include "core/log.h"
#include "process/point/experiment_type.h"
#include "process/point/image_sizes.h"

namespace vyn {

std::vector<std::size_t> pictures_of_ratio(const StepView& view) {
    if (experiment_type(view.data) == ExperimentType::single) return {0, 1};
    return uses_wind_off(view.data, view.images) ? std::vector<std::size_t>{0, 1, 2, 3}
                                                 : std::vector<std::size_t>{1, 3};
}

std::vector<StepImage> corrected_images(const StepView& view) {
    std::vector<StepImage> taken;
    const bool markers = read(view.data, keys::markers_enable) != 0;
    if (experiment_type(view.data) == ExperimentType::lifetime)  // it decides which there are
        taken.push_back({.name = image_names::wind_off_sens,
                         .need = StepImage::Need::if_there,
                         .use = StepImage::Use::behind});
    for (const std::size_t i : pictures_of_ratio(view))
        taken.push_back({.name = raw_images()[i].corrected_name, .markers = markers});
    return taken;
}

std::optional<CorrectedPictures> corrected_pictures(const StepRun& run) {
    CorrectedPictures pictures;
    for (const std::size_t i : pictures_of_ratio(run.view())) {
        pictures[i] = run.session.images.find(raw_images()[i].corrected_name);
        if (pictures[i]) continue;
        get_log().write(LogLevel::error, "Image not loaded");
        return std::nullopt;
    }
    const auto& [signal_off, signal_on, reference_off, reference_on] = pictures;
    if (signal_off) require_same_size(*signal_off, *signal_on);
    if (reference_off) require_same_size(*reference_off, *reference_on);
    if (!signal_off) require_same_size(*reference_on, *signal_on);
    return pictures;
}

}  // namespace vyn
