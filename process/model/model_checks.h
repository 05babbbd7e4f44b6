#pragma once

#include <string>
#include <vector>

#include "markers/marker.h"
#include "projection/projection.h"

namespace vyn {

/// Raises AlgoError "Resection Failed!" naming the extents of both where most active markers (mm)
/// lie beside the mesh or all of them on a fiftieth of it: one of the two is in another unit, or of
/// another model.
void check_markers_on_mesh(const std::vector<Marker>& markers, const field_data<double>& mesh,
                           double mm_per_unit);

/// Raises AlgoError "Resection Failed!" naming by what each view lost the mesh where none sees a
/// place of it.
void check_seen(const ProjectionResult& result, const std::vector<ProjectedView>& views);

}  // namespace vyn
