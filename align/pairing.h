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

    bool operator==(const MarkerPair&) const = default;
};

struct PairingOptions {
    int link = 0;  ///< 0: by number or order; 1: by nearest neighbour; else the pairing fails
    int window_side = 33;  ///< side of the search window in pixels, 2 * box + 1
    int fix_first = 0;     ///< markers that the provisional mapping goes through; 0: any
    int coefficients = 3;  ///< per axis, of the mapping wanted
};

struct Pairing {
    bool ok = false;
    bool doubtful = false;  ///< too few of the pairs agree to tell the true ones
    std::vector<MarkerPair> pairs;
    std::vector<std::string> notes;  ///< for the log
};

/// True for the values of `link` that `pair_markers` knows.
bool is_pairing_method(int link);

/// Pairs the active markers of two images.
///
/// Method 0: by number when the numbers are unique in both sets, else the k-th active with the k-th
/// active. Method 1: the first `fix_first` pairs by order, the rest by mutual nearest neighbour.
/// With either, pairs lie inside the window about the mapping that the most markers agree with
/// (consensus.h); those outside are left out with a note, which names marker and distance. The
/// samples of that mapping come from the first `fix_first` pairs and have the freedom wanted; with
/// 0, method 0 takes them from all pairs, affine at least, and method 1 searches about the
/// identity.
Pairing pair_markers(const MarkerSet& reference, const MarkerSet& moved,
                     const PairingOptions& options);

}  // namespace vyn
