#pragma once

#include <string>

#include "mesh/surface.h"

namespace vyn::cli {

/// "X,Y,Z" as numbers; an empty text is 0,0,0. Raises UsageError naming the option.
Vec3 parse_vector(const std::string& option, const std::string& text);

/// The quantity asked for, or the first one; raises UsageError when the mesh has no values.
std::string chosen_quantity(const field_data<double>& mesh, const std::string& wanted);

}  // namespace vyn::cli
