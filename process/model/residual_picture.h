#pragma once

#include <vector>

#include "api/image.h"
#include "render/canvas.h"
#include "resect/resection.h"

namespace vyn {

/// The largest residual among the markers in use, pixels.
double largest_residual(const std::vector<MarkerResult>& markers);

/// From blue for none to red for `largest`; markers left out are grey.
Canvas::Colour residual_colour(const MarkerResult& marker, double largest);

/// How many times as long residuals are drawn on a picture of this width: 1, 2, 5, 10, ..., so that
/// the largest in use spans about a twelfth of it.
double residual_factor(const std::vector<MarkerResult>& markers, int width);

/// Residuals as arrows from their dots, `factor` times as long, with the markers' numbers, on the
/// camera's picture in grey (white where there is none), no side longer than `side` pixels.
Figure residual_figure(const image* picture, const ViewResult& view, double factor, int side);

}  // namespace vyn
