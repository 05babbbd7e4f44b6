#pragma once

#include <string>
#include <vector>

#include "align/mapping_order.h"
#include "align/pairing.h"

namespace vyn {

struct MarkerMatchOptions {
    int order = 1;  ///< of the mapping, 0 to 3; any other is the identity
    int box = 16;   ///< half-size of the search window in pixels
    int fix_first = 0;
    int link = 0;
    bool by_geometry = false;  ///< pair by the markers' places instead of `link` and `fix_first`
};

/// Outcome of the alignment of one image pair. Errors in pixels of the moved image.
struct MarkerMatch {
    bool ok = false;
    PolyTransform moved_from_reference;
    std::vector<MarkerPair> pairs;
    std::vector<Point> residuals;  ///< moved - mapped reference, per pair
    int reference_count = 0;       ///< markers of the reference set
    int moved_count = 0;
    bool different_counts = false;  ///< the sets have different numbers of active markers
    bool underdetermined = false;
    bool poor = false;             ///< not to be trusted: a large error, or pairs that do not agree
    double mean_square_error = 0;  ///< root of the mean of the squared distances
    double mean_absolute_error = 0;  ///< mean of the distances
    double max_absolute_error = 0;
    int max_error_marker = 0;  ///< number (id) of that marker
    OrderErrors orders;
    std::vector<std::string> notes;  ///< warnings for the log
    std::string failure;             ///< why it is not ok
};

/// The failure when there are no pairs: the caller may offer a copy of the image instead.
inline constexpr const char* no_pairs_text =
    "There are no pairs to transform Image.\nCopy is available only.";

/// Above it (root mean square, pixels) pictures count as poorly aligned.
inline constexpr double poor_alignment_rms = 2;

/// Pairs the markers, fits the mapping that takes a reference pixel to the moved image's pixel, and
/// measures its residuals. Notes tell of a worst residual above one pixel or five times the median,
/// and of markers far from where the others put them. Fails when pairing fails, 2 * pairs <
/// coefficients, or the fit fails.
MarkerMatch match_markers(const MarkerSet& reference, const MarkerSet& moved,
                          const MarkerMatchOptions& options);

/// The order that is wanted, 0 to 3, or for -1 the one with the smallest leave-one-out error among
/// the pairs that an affine mapping finds.
int order_of_mapping(int wanted, const MarkerSet& reference, const MarkerSet& moved,
                     MarkerMatchOptions options);

/// The report as lines for the log, the last one empty; the names are those of the two images. A
/// match that failed has no errors to report.
std::vector<std::string> report_lines(const MarkerMatch& match, const std::string& reference_name,
                                      const std::string& moved_name);

/// The leave-one-out error of each order and the order with the smallest, as lines for the log.
std::vector<std::string> order_lines(const OrderErrors& orders);

}  // namespace vyn
