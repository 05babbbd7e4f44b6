#pragma once

#include <optional>
#include <string>

#include "render/view_source.h"

namespace vyn {

/// The status line for a pixel of the field of this name.
/// `sigma` is the standard deviation there, where it is known: shown as a band of two of them.
std::string probe_text(const ProbedPixel& pixel, const std::string& field_name,
                       std::optional<float> sigma = std::nullopt);

}  // namespace vyn
