#pragma once

#include <string>

#include "render/view_source.h"

namespace vyn {

/// The status line for a pixel of the field of this name.
std::string probe_text(const ProbedPixel& pixel, const std::string& field_name);

}  // namespace vyn
