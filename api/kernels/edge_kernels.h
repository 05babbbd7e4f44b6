#pragma once

#include <cstdint>

#include "api/kernels/pixel_kernels.h"

namespace vyn {

/// What a byte of a row of states says of its pixel.
namespace pixel_state {
inline constexpr std::uint8_t known = 0;
inline constexpr std::uint8_t unknown = 255;
}  // namespace pixel_state

/// Rows of states have at least one readable byte before the first pixel and 64 after the last.
struct EdgeKernels {
    /// Copies the values of valid, finite pixels, which become known; the others become 0 and
    /// unknown. True when all are known. Rows are readable and writable up to the next multiple of
    /// 16 pixels.
    bool (*take_known)(ConstPixelRow source, int n, float* out, std::uint8_t* state);
    /// Columns of the unknown pixels of a row that have a known neighbour among eight, in order;
    /// returns how many. `columns` has room for n. The rows hold no states but those two.
    int (*border)(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                  int n, int* columns);
};

}  // namespace vyn
