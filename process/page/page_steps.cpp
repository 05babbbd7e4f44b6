#include "process/page/page_steps.h"

#include "process/point/experiment_type.h"
#include "process/point/save_image_task.h"
#include "process/steps/chain.h"
#include "process/steps/correct_task.h"
#include "process/steps/field_task.h"
#include "process/steps/image_origin.h"
#include "process/steps/ratio_task.h"

namespace vyn {

namespace names = image_names;

namespace {

std::shared_ptr<Job> job_of(std::unique_ptr<Task> task) {
    auto job = std::make_shared<Job>();
    job->append(std::move(task));
    return job;
}

/// Corrects the signal picture and, where the type has one and it is loaded, the reference picture.
std::shared_ptr<Job> correction(dataSetInterface& data, const imagesList& images,
                                const RawImage& signal, const RawImage& reference,
                                const std::shared_ptr<RunReport>& report) {
    auto job = std::make_shared<Job>();
    const auto append = [&](const RawImage& raw) {
        job->append(std::make_unique<CorrectTask>(
            correction_of(data, raw, std::string(raw.name) + "_cor"), report));
    };
    append(signal);
    if (experiment_type(data) != ExperimentType::single && images.find(reference.name))
        append(reference);
    return job;
}

std::shared_ptr<Job> ratio(dataSetInterface& data, const imagesList& images,
                           const std::shared_ptr<RunReport>& report) {
    if (experiment_type(data) != ExperimentType::single)
        return calculate_ratio(data, images, report);
    return job_of(
        std::make_unique<RatioTask>(RatioImages{names::wind_off_sens_cor, names::wind_on_sens_cor,
                                                names::wind_on_sens_aligned, names::ratio},
                                    report));
}

std::shared_ptr<Job> plain_job(PageStep step, dataSetInterface& data, const imagesList& images,
                               const std::shared_ptr<RunReport>& report) {
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    switch (step) {
        case PageStep::correct_wind_off:
            return correction(data, images, off_signal, off_reference, report);
        case PageStep::correct_wind_on:
            return correction(data, images, on_signal, on_reference, report);
        case PageStep::ratio:
            return ratio(data, images, report);
        case PageStep::field:
            return job_of(std::make_unique<FieldTask>(names::ratio, names::field, report));
        case PageStep::all:
            return calculate_all(data, images, report);
        case PageStep::save_field:
            return job_of(std::make_unique<SaveFieldTask>());
        case PageStep::in_situ:
        case PageStep::check:
        case PageStep::count:
            break;
    }
    return std::make_shared<Job>();
}

}  // namespace

std::shared_ptr<Job> page_job(PageStep step, dataSetInterface& data, const imagesList& images,
                              const std::shared_ptr<RunReport>& report) {
    if (!missing_for(step, data, images).empty()) return std::make_shared<Job>();
    return with_origins(plain_job(step, data, images, report));
}

bool replaces(PageStep step, ExperimentType type, std::string_view result) {
    switch (step) {
        case PageStep::correct_wind_off:
            return result == names::wind_off_sens_cor || result == names::wind_off_refe_cor;
        case PageStep::correct_wind_on:
            return result == names::wind_on_sens_cor || result == names::wind_on_refe_cor;
        case PageStep::ratio:
            return type == ExperimentType::single
                       ? result == names::wind_on_sens_aligned || result == names::ratio
                       : result != names::field;
        case PageStep::field:
            return result == names::field;
        case PageStep::all:
            return true;
        case PageStep::save_field:
        case PageStep::in_situ:
        case PageStep::check:
        case PageStep::count:
            break;
    }
    return false;
}

}  // namespace vyn
