#pragma once

#include <optional>

#include "api/image.h"
#include "api/point.h"

namespace vyn {

/// Bilinear value; nothing when one of the four pixels is outside or excluded.
std::optional<double> value_at(const image& picture, Point p);

}  // namespace vyn
