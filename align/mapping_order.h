#pragma once

#include <array>
#include <optional>
#include <span>

#include "align/pairing.h"

namespace vyn {

/// What each order of the mapping (0 to 3) would leave at a marker that the fit has not seen.
struct OrderErrors {
    /// Root mean square in pixels of the moved image; nothing where the pairs are too few.
    std::array<std::optional<double>, 4> leave_one_out;
    /// The order with the smallest of them.
    std::optional<int> suggested;
};

/// Leave-one-out errors without refitting: a residual over one minus its leverage (Allen 1974).
OrderErrors leave_one_out_errors(std::span<const MarkerPair> pairs);

}  // namespace vyn
