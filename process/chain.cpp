#include "process/chain.h"

#include "process/correct_task.h"
#include "process/field_task.h"
#include "process/ratio_task.h"
#include "process/raw_images.h"

namespace vyn {

namespace names = image_names;

std::shared_ptr<Job> calculate_ratio(dataSetInterface& data, const imagesList& images,
                                     const std::shared_ptr<RunReport>& report) {
    auto job = std::make_shared<Job>();
    if (!images.find(names::wind_off_sens) || !images.find(names::wind_on_sens)) return job;

    const auto& [wind_off, wind_on, wind_off_reference, wind_on_reference] = raw_images();
    job->append(std::make_unique<CorrectTask>(
        correction_of(data, wind_off, names::wind_off_sens_cor), report));
    job->append(std::make_unique<CorrectTask>(correction_of(data, wind_on, names::wind_on_sens_cor),
                                              report));
    job->append(
        std::make_unique<RatioTask>(RatioImages{names::wind_off_sens_cor, names::wind_on_sens_cor,
                                                names::wind_on_sens_aligned, names::ratio},
                                    report));
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
