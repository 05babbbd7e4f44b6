#pragma once

#include <cstddef>
#include <vector>

#include "align/pairing.h"

namespace vyn {

/// Gives every paired marker of the moved image the number of its partner. An unpaired one keeps
/// its number where that is free, else it gets the next free one.
MarkerSet numbered_like_partners(MarkerSet moved, const std::vector<MarkerPair>& pairs);

/// Both sets in one: those found that stand farther than `distance` pixels from every marker there
/// is are put behind them, with the next free numbers.
MarkerSet joined(MarkerSet markers, const MarkerSet& found, double distance);

/// One more than the largest number, at least 1; the first gap where that is the largest integer.
std::int32_t next_free_number(const MarkerSet& set);

}  // namespace vyn
