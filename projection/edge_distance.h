#pragma once

#include "projection/field_sampler.h"
#include "projection/view_geometry.h"

namespace vyn {

/// Distance in pixels from each pixel's centre to the nearest excluded pixel, picture border or
/// silhouette of the mesh (an edge whose two faces are turned to and away from the camera, or of
/// one face only), exact (Felzenszwalb and Huttenlocher 2012) and at most 255.
Bitmap<float> edge_distance(const FieldSampler& sampler, const ViewGeometry& geometry,
                            const PreparedMesh& prepared, int width, int height,
                            Progress& progress);

}  // namespace vyn
