#pragma once

#include "render/model/model_painter.h"
#include "render/picture.h"

namespace vyn {

/// The model in false colour for papers and reports, with smooth edges; round it what `frame` asks
/// for. The look's quantity belongs to the mesh; its colours are the frame's. Raises AlgoError when
/// the picture would be too large, Aborted when told to stop.
Figure model_figure(const field_data<double>& mesh, const Surface& surface,
                    const VertexNormals& normals, const ModelView& view, ModelLook look,
                    const FrameOptions& frame, Progress& progress);

/// Limits of display for a quantity: its 0.5 and 99.5 percentiles without what was not seen.
Limits robust_limits(const field_data<double>::Quantity& quantity);

}  // namespace vyn
