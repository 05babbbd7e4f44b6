#pragma once

#include "api/image.h"

namespace vyn {

/// Raises IndexError naming both images and their files when they differ in size.
void require_same_size(const image& a, const image& b);

}  // namespace vyn
