#pragma once

#include "process/steps/step.h"

namespace vyn {

/// Finds by markers where every corrected picture shows the points of the frame.
///
/// One channel: wind-on to wind-off. Binary paint: wind-on to wind-off in each channel, and the
/// reference camera to the signal camera by the wind-off pictures. Lifetime: one camera took both
/// gates, so the signal channel's mapping holds for both; without wind-off pictures there is
/// nothing to align. An alignment that fails is reported and leaves its picture where it lies.
StepFacts align_facts(const StepView& view);
TaskOutcome align_by_markers(const StepRun& run);

}  // namespace vyn
