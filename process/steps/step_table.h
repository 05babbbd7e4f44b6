#pragma once

#include <string_view>
#include <vector>

#include "process/steps/step.h"

namespace vyn {

/// Every step, in the order of computation: the one place that says what a step takes, which
/// settings decide on its results and what it gives. Chain, pages, out-of-date marks and reports
/// ask it.
const std::vector<Step>& step_table();
const Step& step_of(StepId id);

/// False for a step that is switched off and only removes its former results.
bool has_work(const Step& step, const StepView& view);

/// Whether the result would be there after a run, were nothing missing.
bool would_give(std::string_view result, const StepView& view);

/// The facts of a step together with those of the steps that hand over to it.
StepFacts whole_facts(const Step& step, const StepView& view);

/// What one result of a step is computed from: the step's facts, with only that result left among
/// what it gives. Nothing for a name that is no result of it.
StepFacts facts_of_result(const Step& step, std::string_view result, const StepView& view);
/// The same for whichever step gives the result.
StepFacts facts_of_result(std::string_view result, const StepView& view);

}  // namespace vyn
