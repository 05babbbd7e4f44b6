#pragma once

#include "process/steps/step.h"

namespace vyn {

StepFacts field_facts(const StepView& view);

/// The field of any ratio by those settings; what enters the law goes to log and report.
/// `temperature` is that of its pixels at wind-on; null: one number for all.
image field_of_ratio(const StepRun& run, const image& ratio, const image* temperature);

/// Converts the ratio image into the quantity that the project asks for, by the paint law and the
/// test conditions. Does nothing when there is no ratio.
TaskOutcome calculate_field(const StepRun& run);

}  // namespace vyn
