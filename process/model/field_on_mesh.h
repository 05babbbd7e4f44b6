#pragma once

#include <string>

#include "process/model/model_views.h"
#include "projection/projection.h"

namespace vyn {

/// Prepares the mesh, projects the views' fields on it and puts the quantities and views into it in
/// the place of those that it had; what was turned or is odd about the mesh goes to the log. The
/// quantity is named after the first field. Raises AlgoError, also when the fields do not hold the
/// same quantity; the mesh is then as it was.
ProjectionResult put_fields_on_mesh(field_data<double>& mesh, const std::string& unit,
                                    const std::vector<ProjectedView>& views,
                                    const ProjectionOptions& options, Progress& progress);

/// Adds the standard deviations of fields that were put on the mesh: "sigma_common", the same over
/// an area and taken as the same for all views, and "sigma_random", of a node for itself: the
/// white-equivalent one of its pixels over the root of their number. Nodes closer together than the
/// pixels share them, and their random parts then are not independent. `sigmas` by view; where one
/// has none of its field's size, nothing is added and the log names it, unless none has any. Raises
/// AlgoError, Aborted.
void put_sigmas_on_mesh(const std::vector<FieldSigmas>& sigmas, field_data<double>& mesh,
                        const std::string& unit, const std::vector<ProjectedView>& views,
                        const ProjectionOptions& options, Progress& progress);

/// Puts what was projected into the mesh, in the place of the values and views that it had.
void store_on_mesh(field_data<double>& mesh, const std::string& unit,
                   const std::vector<ProjectedView>& views, const ProjectionResult& result);

}  // namespace vyn
