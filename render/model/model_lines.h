#pragma once

#include <span>
#include <vector>

#include "api/field_data.h"
#include "render/iso_lines.h"
#include "render/model/visible_faces.h"

namespace vyn {

/// What lies behind its neighbour in the picture by so much of the mesh's diagonal is another part
/// of the surface, and what lies behind the surface by so much is hidden.
inline constexpr double hidden_lift = 0.01;

/// The lines of these levels (rising) over what is seen of a model, in pixels of the view that
/// `faces` was drawn with, (0, 0) the centre of the first. None where nothing was seen, and none
/// from one part of the surface to another that lies behind it. The same bits for any number of
/// threads.
std::vector<IsoLine> model_iso_lines(const field_data<double>& mesh, const Surface& surface,
                                     const VisibleFaces& faces,
                                     const field_data<double>::Quantity& quantity,
                                     std::span<const double> levels);

/// Whether a place of the mesh, at a lift of this length off the surface, lies behind what is seen
/// there. False beside the picture and the model.
bool is_hidden(const VisibleFaces& faces, const Vec3& place, double lift);

}  // namespace vyn
