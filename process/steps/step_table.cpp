#include "process/steps/step_table.h"

#include <algorithm>

#include "process/model/model_step.h"
#include "process/steps/align_step.h"
#include "process/steps/correct_step.h"
#include "process/steps/correlation_step.h"
#include "process/steps/field_step.h"
#include "process/steps/image_origin.h"
#include "process/steps/ratio_step.h"
#include "process/steps/temperature_step.h"
#include "process/steps/uncertainty_step.h"

namespace vyn {

namespace {

/// The correction of a camera picture, by its number in `raw_images`.
Step correct_step(StepId id, const char* name, const char* meaning, std::size_t picture) {
    return {id,
            name,
            meaning,
            {},
            [picture](const StepView& view) { return correct_facts(view, picture); },
            [picture](const StepRun& run) { return correct_picture(run, picture); }};
}

void merge(StepFacts& whole, StepFacts part) {
    for (StepImage& taken : part.takes) {
        const auto known = std::ranges::find(whole.takes, taken.name, &StepImage::name);
        if (known == whole.takes.end())
            whole.takes.push_back(std::move(taken));
        else
            known->markers |= taken.markers;
    }
    for (auto member : {&StepFacts::settings, &StepFacts::behind, &StepFacts::told})
        for (std::string& path : part.*member)
            if (std::ranges::find(whole.*member, path) == (whole.*member).end())
                (whole.*member).push_back(std::move(path));
}

}  // namespace

const std::vector<Step>& step_table() {
    using enum StepId;
    static const std::vector<Step> table{
        correct_step(correct_wind_off_sens, "correct wind-off",
                     "dark level, dark picture, flat field and lens of the wind-off picture", 0),
        correct_step(correct_wind_on_sens, "correct wind-on", "the same of the wind-on picture", 1),
        correct_step(correct_wind_off_refe, "correct wind-off, reference",
                     "the same of the reference channel's wind-off picture", 2),
        correct_step(correct_wind_on_refe, "correct wind-on, reference",
                     "the same of the reference channel's wind-on picture", 3),
        {align_markers,
         "align by markers",
         "where every picture shows the points of the wind-off picture",
         {},
         align_facts,
         align_by_markers},
        {align_correlation,
         "align by cross-correlation",
         "the same, followed by the texture of the paint; only when switched on",
         {align_markers},
         correlation_facts,
         align_by_texture},
        {ratio,
         "ratio",
         "filters, sampling of the aligned pictures, ratio, limits and thinning",
         {align_markers, align_correlation},
         ratio_facts,
         form_ratio_image},
        {temperature,
         "temperature",
         "the wind-on temperature of every pixel; only where it is no single number",
         {},
         temperature_facts,
         find_temperature},
        {field,
         "field",
         "pressure, P/Pstat or Cp by the paint's law and the test conditions",
         {},
         field_facts,
         calculate_field},
        {uncertainty,
         "uncertainty",
         "the standard deviation of every pixel of the field; only when switched on",
         {align_markers, align_correlation},
         uncertainty_facts,
         calculate_uncertainty},
        {model,
         "put on the model",
         "where the cameras stood, and the field on the mesh; only where a mesh is loaded",
         {},
         model_facts,
         put_on_model},
    };
    return table;
}

const Step& step_of(StepId id) {
    return *std::ranges::find(step_table(), id, &Step::id);
}

bool has_work(const Step& step, const StepView& view) {
    return !step.facts(view).takes.empty();
}

bool would_give(std::string_view result, const StepView& view) {
    return std::ranges::any_of(step_table(), [&](const Step& step) {
        const StepFacts facts = step.facts(view);
        return !facts.takes.empty() &&
               std::ranges::find(facts.gives, result, &StepResult::name) != facts.gives.end();
    });
}

StepFacts whole_facts(const Step& step, const StepView& view) {
    StepFacts facts = step.facts(view);
    for (const StepId earlier : step.after)
        merge(facts, step_of(earlier).facts(view));
    return facts;
}

StepFacts facts_of_result(const Step& step, std::string_view result, const StepView& view) {
    StepFacts facts = whole_facts(step, view);
    const auto given = std::ranges::find(facts.gives, result, &StepResult::name);
    if (given == facts.gives.end()) return {};
    const StepResult wanted = *given;
    facts.settings.insert(facts.settings.end(), wanted.settings.begin(), wanted.settings.end());
    facts.gives = {wanted};
    return facts;
}

StepFacts facts_of_result(std::string_view result, const StepView& view) {
    for (const Step& step : step_table())
        if (StepFacts facts = facts_of_result(step, result, view); !facts.gives.empty())
            return facts;
    return {};
}

void StepRun::publish(image result) const {
    const imagesList& images = session.images;
    result.origin =
        result_origin(session.data, images, facts_of_result(step, result.name, view()),
                      [&](const std::string& source) { return images.find(source)->origin; });
    result.note_markers_saved();
    result.note_mask_saved();
    session.images.add(std::move(result));
}

}  // namespace vyn
