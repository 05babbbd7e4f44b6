#pragma once

#include <string>
#include <vector>

#include "align/poly_transform.h"
#include "markers/marker.h"

namespace vyn {

/// A marker found in both images; positions in pixels of each image.
struct MarkerPair {
    Point reference;
    Point moved;
    int reference_id = 0;
};

struct PairingOptions {
    int link = 0;  ///< 0: by number or order; 1: by nearest neighbour; else the pairing fails
    int window_side = 33;  ///< side of the search window in pixels, 2 * box + 1
    int fix_first = 0;     ///< markers paired by order, for a provisional mapping
    int coefficients = 3;  ///< per axis, of the mapping wanted
};

struct Pairing {
    bool ok = false;
    std::vector<MarkerPair> pairs;
    std::vector<std::string> notes;  ///< for the log
};

/// Pairs the active markers of two images.
///
/// Method 0: by number when the numbers are unique in both sets, else the k-th active with the k-th
/// active. With `fix_first` > 0 the first pairs give a provisional mapping and pairs outside the
/// window about it are dropped. Method 1: the first `fix_first` pairs by order, the rest by mutual
/// nearest neighbour inside the window under the provisional mapping (identity without one).
Pairing pair_markers(const MarkerSet& reference, const MarkerSet& moved,
                     const PairingOptions& options);

}  // namespace vyn
