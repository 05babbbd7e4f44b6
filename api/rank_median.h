#pragma once

#include <cstdint>
#include <vector>

#include "api/image.h"

namespace vyn {

/// The valid pixels of an image by value: equal ones by position, NaN last.
struct ValueRanks {
    explicit ValueRanks(const image& picture);

    Bitmap<std::uint32_t> ranks;  ///< no_rank for excluded pixels
    std::vector<float> values;    ///< by rank
};

}  // namespace vyn
