#pragma once

#include <string>

#include "render/limits.h"
#include "render/picture.h"

namespace vyn {

/// A histogram as bars over a scale of its range, with the label (printable ASCII) under it. Raises
/// AlgoError for a size below 160 x 120 pixels.
RgbPicture draw_histogram(const Histogram& histogram, const std::string& label, int width,
                          int height);

}  // namespace vyn
