#pragma once

#include <string>

#include "projection/projection.h"

namespace vyn {

/// Prepares the mesh, projects the views' fields on it and puts the quantities and views into it in
/// the place of those that it had; what was turned or is odd about the mesh goes to the log. The
/// quantity is named after the first field. Raises AlgoError, also when the fields do not hold the
/// same quantity; the mesh is then as it was.
ProjectionResult put_fields_on_mesh(field_data<double>& mesh, const std::string& unit,
                                    const std::vector<ProjectedView>& views,
                                    const ProjectionOptions& options, Progress& progress);

/// Puts what was projected into the mesh, in the place of the values and views that it had.
void store_on_mesh(field_data<double>& mesh, const std::string& unit,
                   const std::vector<ProjectedView>& views, const ProjectionResult& result);

}  // namespace vyn
