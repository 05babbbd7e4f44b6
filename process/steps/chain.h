#pragma once

#include <memory>
#include <vector>

#include "process/point/raw_images.h"
#include "process/steps/step.h"

namespace vyn {

/// What a user can ask to be computed.
enum class Goal {
    correct_wind_off,
    correct_wind_on,
    ratio_of_corrected,  ///< of one channel's corrected pictures as they are; two channels go back
                         ///< to what the cameras took
    displacement,        ///< how the wind-on picture lies, without a ratio
    ratio,
    field,
    model,  ///< the field as it is, on the mesh
    all
};

/// The steps that lead there for the point as it stands, in their order; none for a type of
/// experiment that is not evaluated.
std::vector<StepId> steps_of(Goal goal, const StepView& view);

/// What they need and what is neither there nor given by a step before: camera pictures and
/// results, by name.
std::vector<std::string> missing_images(Goal goal, const StepView& view);

/// Everything that they publish or remove.
std::vector<std::string> results_of(Goal goal, const StepView& view);

/// The steps as one job. An empty job while something is missing. `report` is filled as they run.
/// Corrections in `done`, whose results are there and current, are left out.
std::shared_ptr<Job> calculate(Goal goal, Session session, std::shared_ptr<RunReport> report,
                               const std::vector<StepId>& done = {});

/// Why Calculate All cannot run, for scripts: which settings name no image, or that the type is not
/// evaluated. Empty when nothing is missing.
std::string missing_input(const StepView& view);

}  // namespace vyn
