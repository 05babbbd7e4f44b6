#include "process/steps/chain.h"

#include "process/point/experiment_type.h"
#include "process/point/raw_images.h"
#include "process/steps/channel_ratio_task.h"
#include "process/steps/correct_task.h"
#include "process/steps/field_task.h"
#include "process/steps/ratio_task.h"

namespace vyn {

namespace names = image_names;

std::shared_ptr<Job> calculate_ratio(dataSetInterface& data, const imagesList& images,
                                     const std::shared_ptr<RunReport>& report) {
    auto job = std::make_shared<Job>();
    if (!missing_input(data, images).empty()) return job;

    const bool single = experiment_type(data) == ExperimentType::single;
    const std::array<const char*, 4> corrected{names::wind_off_sens_cor, names::wind_on_sens_cor,
                                               names::wind_off_refe_cor, names::wind_on_refe_cor};
    const std::size_t pictures = single ? 2 : corrected.size();
    for (std::size_t i = 0; i < pictures; ++i)
        if (images.find(raw_images()[i].name))
            job->append(std::make_unique<CorrectTask>(
                correction_of(data, raw_images()[i], corrected[i]), report));
    if (single)
        job->append(std::make_unique<RatioTask>(
            RatioImages{names::wind_off_sens_cor, names::wind_on_sens_cor,
                        names::wind_on_sens_aligned, names::ratio},
            report));
    else
        job->append(std::make_unique<ChannelRatioTask>(report));
    return job;
}

std::shared_ptr<Job> calculate_all(dataSetInterface& data, const imagesList& images,
                                   std::shared_ptr<RunReport> report) {
    auto job = calculate_ratio(data, images, report);
    if (!job->empty())
        job->append(std::make_unique<FieldTask>(names::ratio, names::field, std::move(report)));
    return job;
}

}  // namespace vyn
