#pragma once

#include <cstddef>
#include <vector>

#include "align/pairing.h"

namespace vyn {

/// Gives every paired marker of the moved image the number of its partner. An unpaired one keeps
/// its number where that is free, else it gets the next free one.
MarkerSet numbered_like_partners(MarkerSet moved, const std::vector<MarkerPair>& pairs);

/// The numbers of a set after those of another one, which it is paired with by number, have
/// changed: a marker gets the number that its partner has now. Partners are known by their order
/// where none came or went, else by their place. A number that is taken then is given up for a free
/// one.
MarkerSet renumbered_like(MarkerSet set, const MarkerSet& before, const MarkerSet& after);

/// Both sets in one: those found that stand farther than `distance` pixels from every marker there
/// is are put behind them, with the next free numbers.
MarkerSet joined(MarkerSet markers, const MarkerSet& found, double distance);

/// One more than the largest number, at least 1; the first gap where that is the largest integer.
std::int32_t next_free_number(const MarkerSet& set);

}  // namespace vyn
