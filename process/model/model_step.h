#pragma once

#include "process/steps/step.h"

namespace vyn {

/// What the mesh's values are computed from.
StepFacts model_facts(const StepView& view);

/// Finds where the cameras stood and puts the field on the session's mesh: the last step of
/// Calculate All where a mesh is loaded. The pose of the signal camera goes into the settings.
/// Raises AlgoError "Field3D:2d field is absent", "Field3D:3d field is absent" and "Resection
/// Failed!"; mesh and settings are then as they were.
TaskOutcome put_on_model(const StepRun& run);

}  // namespace vyn
