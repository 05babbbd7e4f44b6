#include "process/point/experiment_type.h"

#include "core/keys.h"

namespace vyn {

ExperimentType experiment_type(const dataSetInterface& data) {
    if (read(data, keys::test_s3f) != 0) return ExperimentType::s3f;
    if (read(data, keys::test_lifetime) != 0) return ExperimentType::lifetime;
    return read(data, keys::test_single) != 0 ? ExperimentType::single : ExperimentType::binary;
}

void choose_experiment_type(dataSetInterface& data, ExperimentType type) {
    if (type == ExperimentType::s3f) {
        write(data, keys::test_s3f, 1);
        return;
    }
    write(data, keys::test_single, type == ExperimentType::single ? 1 : 0);
    write(data, keys::test_lifetime, type == ExperimentType::lifetime ? 1 : 0);
}

std::vector<const RawImage*> aligned_images(ExperimentType type) {
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    if (type == ExperimentType::binary)
        return {&off_signal, &on_signal, &off_reference, &on_reference};
    return {&off_signal, &on_signal};
}

const RawImage& camera_partner(const dataSetInterface& data, const RawImage& raw) {
    if (experiment_type(data) != ExperimentType::lifetime) return raw;
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    if (raw.name == off_reference.name) return off_signal;
    return raw.name == on_reference.name ? on_signal : raw;
}

bool uses_wind_off(const dataSetInterface& data, const imagesList& images) {
    return experiment_type(data) != ExperimentType::lifetime ||
           images.find(image_names::wind_off_sens) != nullptr;
}

}  // namespace vyn
