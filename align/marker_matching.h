#pragma once

#include "align/pairing.h"

namespace vyn {

/// Pairs the active markers of two images by where they stand, whatever their numbers. Lists may be
/// incomplete and hold false dots.
///
/// Similarities through two pairs of near neighbours are tried (random sample consensus, Fischler &
/// Bolles 1981, with a fixed seed: the same markers give the same pairs); a small motion is
/// likelier than a large one. The best one is widened to an affine map by mutual nearest neighbours
/// within the window of the options, then to the order wanted while false pairs are dropped and new
/// ones taken in until nothing changes. Fails, saying why, when fewer than three markers, or less
/// than a third of the shorter list, agree. `link` and `fix_first` are not used.
Pairing pair_by_geometry(const MarkerSet& reference, const MarkerSet& moved,
                         const PairingOptions& options);

}  // namespace vyn
