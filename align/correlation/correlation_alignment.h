#pragma once

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "align/correlation/field_filling.h"
#include "align/displacement_field.h"
#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// Whether one shift of the whole picture is looked for first, for motions beyond the reach of the
/// search of the cells (about a tenth of the picture).
enum class GlobalPass { no, yes };

struct CorrelationOptions {
    int iterations = 3;  ///< refining passes, 1 to 100
    int step = 8;        ///< distance of the nodes, pixels; detail of about 4 steps can be followed
    int cell = 16;       ///< side of the square that is compared, pixels, at least 4
    GlobalPass global = GlobalPass::no;
    /// Pixels below it are left out in both pictures.
    float level = -std::numeric_limits<float>::infinity();

    /// Raises AlgoError that names the value at fault for a picture of that size.
    void check(int width, int height) const;
};

/// Takes a wind-off pixel to the wind-on pixel that shows the same place.
using StartMapping = std::function<Point(Point)>;

struct CorrelationStatistics {
    int cells = 0;          ///< nodes on the model: a third of the cell is usable in both pictures
    int measured = 0;       ///< of them those with a vector
    double no_texture = 0;  ///< share of the cells that show nothing common to measure by
    double median_displacement = 0;  ///< of the measured nodes, pixels
    double largest_displacement = 0;
    std::vector<double> changes;  ///< median change of the measured nodes by each iteration, pixels
    double band_width = 0;        ///< of the smoothing, pixels
    double low_pass = 0;          ///< standard deviation of the Gaussian over both pictures, pixels
};

struct CorrelationResult {
    DisplacementField field;    ///< total displacement, wind-off pixel to wind-on pixel
    Bitmap<NodeSource> source;  ///< of each node
    Bitmap<float> sigma_u;      ///< standard deviations of the nodes, pixels; 0 where not measured
    Bitmap<float> sigma_v;
    CorrelationStatistics statistics;
    std::string failure;  ///< why the field is not to be used; empty when it is
};

/// Aligns two pictures of one textured model by correlating cells: a search through smaller copies
/// by normalised correlation, then passes over the full picture in which every block of pixels
/// gives the equations of one Gauss-Newton step (Lucas & Kanade 1981, gradients of both pictures),
/// and the field is the local regression through the equations of all blocks.
///
/// Both pictures have one size; excluded pixels, those outside the region of interest, those that
/// are not finite and those below the level are left out. Smooth changes of brightness do not
/// count. `start` may be empty: then the search starts from no displacement, and where nothing is
/// measured the field becomes the linear mapping of what is. Where it is given the field becomes
/// that mapping. The same bits with any number of threads and on any instruction set.
///
/// Raises AlgoError for options at fault and pictures without usable pixels, DimError for pictures
/// of different sizes; what the pictures do not show is a failure in the result.
CorrelationResult align_by_correlation(const image& off, const image& on,
                                       const CorrelationOptions& options, const StartMapping& start,
                                       Progress& progress);

}  // namespace vyn
