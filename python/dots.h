#pragma once

#include <optional>
#include <string>

#include "align/dots/marker_detection.h"

namespace vyn::python {

/// Dots as Python's functions name them; raises ValueError for another polarity.
DetectionOptions detection_options(const std::string& polarity, double min_size, double max_size,
                                   int expect, std::optional<double> cut);

}  // namespace vyn::python
