#pragma once

#include <optional>

#include "api/image.h"

namespace vyn {

/// Pixels beside a lit model, which have next to no light: their ratio is noise.
struct DarkBackground {
    double share = 0;  ///< of the pixels that are not excluded
    double level = 0;  ///< a dark level that leaves them out, counts, to two digits
};

/// Found where at least a fiftieth of the pixels lies within the lowest twentieth between the 1st
/// and the 99th percentile of a raw picture; of large ones every fourth row and column is asked.
std::optional<DarkBackground> dark_background(const image& picture);

}  // namespace vyn
