#pragma once

#include <vector>

#include "markers/marker.h"
#include "render/model/model_painter.h"
#include "render/picture.h"

namespace vyn {

/// What is drawn over a model, in the mesh's frame.
struct ModelOverlays {
    std::vector<Marker> markers;           ///< those on hidden parts are left out
    std::vector<std::vector<Vec3>> lines;  ///< such as sections
};

/// The model in false colour for papers and reports, with smooth edges; round it what `frame` asks
/// for. The look's quantity belongs to the mesh; its colours are the frame's. Raises AlgoError when
/// the picture would be too large, Aborted when told to stop.
Figure model_figure(const field_data<double>& mesh, const Surface& surface,
                    const VertexNormals& normals, const ModelView& view, ModelLook look,
                    const FrameOptions& frame, const ModelOverlays& overlays, Progress& progress);

/// Limits of display for a quantity: its 0.5 and 99.5 percentiles without what was not seen.
Limits robust_limits(const field_data<double>::Quantity& quantity);

}  // namespace vyn
