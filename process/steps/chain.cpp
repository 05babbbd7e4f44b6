#include "process/steps/chain.h"

#include <algorithm>

#include "core/keys.h"
#include "process/point/experiment_type.h"
#include "process/point/input_files.h"
#include "process/steps/corrected_pictures.h"
#include "process/steps/step_table.h"
#include "process/steps/uncertainty_step.h"

namespace vyn {

namespace {

/// The corrections of the wind-off or wind-on pictures. Gates may do without wind-off pictures, but
/// not with one of the two.
std::vector<StepId> corrections(Goal goal, const StepView& view) {
    using enum StepId;
    const ExperimentType type = experiment_type(view.data);
    const bool two = type != ExperimentType::single;
    const auto there = [&](std::size_t i) {
        return view.images.find(raw_images()[i].name) != nullptr;
    };
    const bool wind_off = goal == Goal::correct_wind_off ||
                          (goal != Goal::correct_wind_on &&
                           (type != ExperimentType::lifetime || there(0) || there(2)));
    std::vector<StepId> steps;
    if (wind_off) steps.push_back(correct_wind_off_sens);
    if (goal != Goal::correct_wind_off) steps.push_back(correct_wind_on_sens);
    if (two && wind_off) steps.push_back(correct_wind_off_refe);
    if (two && goal != Goal::correct_wind_off) steps.push_back(correct_wind_on_refe);
    return steps;
}

/// The step behind those that hand over to it.
void append(std::vector<StepId>& steps, StepId id) {
    if (std::ranges::find(steps, id) != steps.end()) return;
    for (const StepId earlier : step_of(id).after)
        append(steps, earlier);
    steps.push_back(id);
}

/// A ratio may have been loaded without the pictures behind it.
bool has_corrected(const StepView& view) {
    return std::ranges::all_of(pictures_of_ratio(view), [&](std::size_t i) {
        return view.images.find(raw_images()[i].corrected_name) != nullptr;
    });
}

class StepTask final : public Task {
  public:
    StepTask(const Step& step, Session session, std::shared_ptr<RunReport> report,
             std::shared_ptr<Alignment> alignment)
        : step_(step),
          session_(session),
          report_(std::move(report)),
          alignment_(std::move(alignment)) {}
    TaskOutcome run(TaskContext& context) override {
        return step_.run({step_, session_, context, *report_, *alignment_});
    }

  private:
    const Step& step_;
    Session session_;
    std::shared_ptr<RunReport> report_;
    std::shared_ptr<Alignment> alignment_;
};

}  // namespace

std::vector<StepId> steps_of(Goal goal, const StepView& view) {
    std::vector<StepId> steps;
    const ExperimentType type = experiment_type(view.data);
    if (type == ExperimentType::s3f) return steps;
    if (goal == Goal::model) return {StepId::model};
    const bool takes_corrected =
        goal == Goal::field || (goal == Goal::ratio_of_corrected && type == ExperimentType::single);
    if (!takes_corrected) steps = corrections(goal, view);
    const bool on_model = goal == Goal::all && view.has_mesh;
    if (on_model && read(view.data, keys::resect_ratio_on_mesh) != 0) {
        steps.push_back(StepId::model);
        return steps;
    }
    const bool to_ratio =
        goal == Goal::ratio_of_corrected || goal == Goal::ratio || goal == Goal::all;
    if (goal == Goal::displacement) append(steps, StepId::align_correlation);
    if (to_ratio) append(steps, StepId::ratio);
    if (goal == Goal::field || goal == Goal::all) {
        append(steps, StepId::temperature);
        append(steps, StepId::field);
        if (!uncertainty_wanted(view))
            steps.push_back(StepId::uncertainty);  // it removes an older one
        else if (goal == Goal::all || has_corrected(view))
            append(steps, StepId::uncertainty);
    }
    if (on_model) steps.push_back(StepId::model);
    return steps;
}

std::vector<std::string> missing_images(Goal goal, const StepView& view) {
    std::vector<std::string> missing;
    std::vector<std::string> given;
    const auto known = [](const std::vector<std::string>& names, const std::string& name) {
        return std::ranges::find(names, name) != names.end();
    };
    for (const StepId id : steps_of(goal, view)) {
        const StepFacts facts = step_of(id).facts(view);
        for (const StepImage& taken : facts.takes)
            if (taken.need == StepImage::Need::needed && !known(given, taken.name) &&
                !known(missing, taken.name) && !view.images.find(taken.name))
                missing.push_back(taken.name);
        for (const StepResult& result : facts.gives)
            given.push_back(result.name);
    }
    return missing;
}

std::vector<std::string> results_of(Goal goal, const StepView& view) {
    std::vector<std::string> results;
    for (const StepId id : steps_of(goal, view))
        for (const StepResult& result : step_of(id).facts(view).gives)
            results.push_back(result.name);
    return results;
}

std::shared_ptr<Job> calculate(Goal goal, Session session, std::shared_ptr<RunReport> report,
                               const std::vector<StepId>& done) {
    auto job = std::make_shared<Job>();
    const StepView view = view_of(session);
    if (!missing_images(goal, view).empty()) return job;
    const auto alignment = std::make_shared<Alignment>();
    for (const StepId id : steps_of(goal, view)) {
        if (has_work(step_of(id), view)) report->steps.push_back(step_of(id).name);
        if (std::ranges::find(done, id) == done.end())
            job->append(std::make_unique<StepTask>(step_of(id), session, report, alignment));
    }
    return job;
}

std::string missing_input(const StepView& view) {
    if (experiment_type(view.data) == ExperimentType::s3f) return not_evaluated_text;
    const std::vector<std::string> missing = missing_images(Goal::all, view);
    if (missing.empty()) return {};
    std::string text = "nothing to calculate: ";
    for (const std::string& name : missing)
        text +=
            (name == missing.front() ? "" : ", ") + std::string(input_of_image(name)->file.path);
    return text + (missing.size() == 1 ? " names no image" : " name no images");
}

}  // namespace vyn
