#pragma once

#include "process/steps/step.h"

namespace vyn {

/// The standard deviations of the field's pixels and where they come from, where the project asks
/// for them; else what was there is removed. It needs the pictures that the field came from, and
/// its ratio.
StepFacts uncertainty_facts(const StepView& view);
TaskOutcome calculate_uncertainty(const StepRun& run);

/// True when the project asks for it, of a quantity that has one.
bool uncertainty_wanted(const StepView& view);

}  // namespace vyn
