#pragma once

#include "process/model/field_on_mesh.h"
#include "process/model/model_views.h"
#include "process/steps/step.h"

namespace vyn {

/// What a field formed on the mesh is computed from, beside poses and projection.
StepFacts ratio_on_mesh_facts(const StepView& view);

/// The corrected and filtered pictures that the ratio is formed of, in the order of `raw_images`,
/// each with the dots of its own picture (gates share those of their second one). Raises AlgoError
/// when a picture or its markers are not there, or when further projects are to join.
std::vector<PointView> views_of_ratio(const StepRun& run);

/// Projects each of those pictures and forms ratio and field at the nodes or cells that all of them
/// see; `pictures` in the order of `views_of_ratio`. Puts the values into the mesh as
/// `put_fields_on_mesh` does; counts are by picture.
ProjectionResult put_ratio_on_mesh(const StepRun& run, field_data<double>& mesh,
                                   const std::string& unit,
                                   const std::vector<ProjectedView>& pictures,
                                   const ProjectionOptions& options);

}  // namespace vyn
