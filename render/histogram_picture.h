#pragma once

#include <string>

#include "render/figure.h"
#include "render/limits.h"

namespace vyn {

/// A histogram as bars over a scale of its range, with the label under it and numbers of pixels
/// beside it. Raises AlgoError for a size below 160 x 120 pixels.
Figure histogram_figure(Histogram histogram, std::string label, int width, int height);

}  // namespace vyn
