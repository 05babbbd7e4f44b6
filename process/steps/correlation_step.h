#pragma once

#include "process/steps/step.h"

namespace vyn {

/// Aligns every wind-on picture to its wind-off picture by the texture of the paint, from where the
/// markers put it, when the project asks for it.
///
/// One channel and lifetime: the signal channel, whose displacement holds for both gates. Binary
/// paint: each channel by itself. Publishes the signal channel's displacement, its standard
/// deviation and, where markers aligned it, what they left. A picture that shows too little texture
/// stays where the markers put it, with a warning; without markers the alignment has failed.
/// Switched off, the step takes nothing and only removes its former results.
StepFacts correlation_facts(const StepView& view);
TaskOutcome align_by_texture(const StepRun& run);

}  // namespace vyn
