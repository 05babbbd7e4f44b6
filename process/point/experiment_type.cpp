#include "process/point/experiment_type.h"

#include "core/keys.h"

namespace vyn {

namespace {

/// A lifetime project evaluates wind-off gates only when both are there.
const RawImage* lone_wind_off_gate(const imagesList& images) {
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    const bool has_signal = images.find(off_signal.name) != nullptr;
    const bool has_reference = images.find(off_reference.name) != nullptr;
    if (has_signal == has_reference) return nullptr;
    return has_signal ? &off_reference : &off_signal;
}

}  // namespace

ExperimentType experiment_type(dataSetInterface& data) {
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

std::vector<const RawImage*> required_images(ExperimentType type) {
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    switch (type) {
        case ExperimentType::single:
            return {&off_signal, &on_signal};
        case ExperimentType::binary:
            return {&off_signal, &on_signal, &off_reference, &on_reference};
        case ExperimentType::lifetime:
            return {&on_signal, &on_reference};
        case ExperimentType::s3f:
            break;
    }
    return {};
}

std::vector<const RawImage*> aligned_images(ExperimentType type) {
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    if (type == ExperimentType::binary)
        return {&off_signal, &on_signal, &off_reference, &on_reference};
    return {&off_signal, &on_signal};
}

const RawImage& camera_partner(dataSetInterface& data, const RawImage& raw) {
    if (experiment_type(data) != ExperimentType::lifetime) return raw;
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    if (raw.name == off_reference.name) return off_signal;
    return raw.name == on_reference.name ? on_signal : raw;
}

bool uses_wind_off(dataSetInterface& data, const imagesList& images) {
    return experiment_type(data) != ExperimentType::lifetime ||
           images.find(image_names::wind_off_sens) != nullptr;
}

std::string missing_input(dataSetInterface& data, const imagesList& images) {
    const ExperimentType type = experiment_type(data);
    if (type == ExperimentType::s3f) return not_evaluated_text;
    std::vector<const RawImage*> missing;
    for (const RawImage* raw : required_images(type))
        if (!images.find(raw->name)) missing.push_back(raw);
    if (type == ExperimentType::lifetime)
        if (const RawImage* gate = lone_wind_off_gate(images)) missing.push_back(gate);
    if (missing.empty()) return {};
    std::string text = "nothing to calculate: ";
    for (const RawImage* raw : missing)
        text += (raw == missing.front() ? "" : ", ") + std::string(raw->file.path);
    return text + (missing.size() == 1 ? " names no image" : " name no images");
}

}  // namespace vyn
