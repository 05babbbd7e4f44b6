#pragma once

#include "process/steps/step.h"

namespace vyn {

/// Forms the ratio image of the corrected pictures, in the frame of the alignment: of one channel
/// wind-off over wind-on, of two channels the ratio of ratios, of gates without wind-off pictures
/// gate 1 over gate 2.
///
/// The pictures that the alignment moves are sampled in the frame. For one channel that is, as the
/// project asks, the undistorted picture, which was sampled once already, or, once only, what the
/// camera took, through mapping and lens together; two channels are always sampled once. Filters
/// work on the undistorted pictures before their second sampling, else on the pictures in the
/// common frame. When an alignment failed the ratio is formed as if that picture had not moved
/// (outcome done_with_errors). Raises IndexError when cameras of different picture sizes are not
/// mapped to each other by markers.
StepFacts ratio_facts(const StepView& view);
TaskOutcome form_ratio_image(const StepRun& run);

/// True when the moved pictures are sampled again after their lens is taken out.
bool samples_twice(dataSetInterface& data);

}  // namespace vyn
