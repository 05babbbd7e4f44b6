#pragma once

#include "process/steps/step.h"

namespace vyn {

/// Converts the ratio image into the quantity that the project asks for, by the paint law and the
/// test conditions. Does nothing when there is no ratio.
StepFacts field_facts(const StepView& view);
TaskOutcome calculate_field(const StepRun& run);

}  // namespace vyn
