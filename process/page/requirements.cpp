#include "process/page/requirements.h"

#include <algorithm>
#include <vector>

#include "core/keys.h"
#include "process/page/page_rows.h"

namespace vyn {

namespace names = image_names;

namespace {

std::string joined(const std::vector<std::string>& labels) {
    std::string text;
    for (std::size_t i = 0; i < labels.size(); ++i)
        text += (i == 0 ? "" : i + 1 == labels.size() ? " and " : ", ") + labels[i];
    return text;
}

/// What to do about images that are missing: results are calculated, camera pictures selected.
std::string advice(ExperimentType type, const std::vector<std::string>& missing) {
    std::vector<std::string> pictures;
    for (const std::string& name : missing) {
        if (!is_camera_file(name)) return "Calculate " + image_label(type, name) + " first.";
        pictures.push_back(image_label(type, name));
    }
    if (pictures.empty()) return {};
    return "Select the " + joined(pictures) + (pictures.size() == 1 ? " image" : " images") +
           " first.";
}

}  // namespace

std::optional<Goal> goal_of(PageStep step) {
    switch (step) {
        case PageStep::correct_wind_off:
            return Goal::correct_wind_off;
        case PageStep::correct_wind_on:
            return Goal::correct_wind_on;
        case PageStep::try_texture:
            return Goal::displacement;
        case PageStep::ratio:
            return Goal::ratio_of_corrected;
        case PageStep::field:
            return Goal::field;
        case PageStep::all:
            return Goal::all;
        case PageStep::save_field:
        case PageStep::in_situ:
        case PageStep::check:
        case PageStep::count:
            break;
    }
    return std::nullopt;
}

std::string missing_for(PageStep step, const dataSetInterface& data, const imagesList& images) {
    if (step == PageStep::save_field)
        return images.find(names::field) ? "" : "Field is not calculated!";
    const ExperimentType type = experiment_type(data);
    if (type == ExperimentType::s3f) return not_evaluated_text;
    if (step == PageStep::try_texture && read(data, keys::qped_enable) == 0)
        return "Switch on the QPED alignment in the alignment options first.";
    if (const auto goal = goal_of(step)) return advice(type, missing_images(*goal, {data, images}));
    const char* shown = step == PageStep::check ? names::field : names::ratio;
    return images.find(shown) ? std::string() : advice(type, {shown});
}

StepNeeds step_needs(const dataSetInterface& data, const imagesList& images) {
    StepNeeds answers;
    for (std::size_t i = 0; i < answers.size(); ++i)
        answers[i] = missing_for(static_cast<PageStep>(i), data, images);
    return answers;
}

}  // namespace vyn
