#pragma once

#include <vector>

#include "align/dots/dot_fit.h"
#include "core/progress.h"

namespace vyn {

/// A place where a dot may be.
struct Blob {
    int x = 0;  ///< pixel
    int y = 0;
    double radius = 0;        ///< of the disc that answers strongest there, pixels
    double significance = 0;  ///< its response over the typical one at its scale
};

/// Places that look like a dot of some radius between the two (pixels), strongest first: the peaks
/// in x, y and scale of the difference of Gaussians of ln(value), which stands for the normalised
/// Laplacian (Lindeberg 1998). Excluded pixels and those outside have no weight in the Gaussians
/// (normalised convolution, Knutsson & Westin 1993). Only those `min_significance` times above the
/// typical response. Raises Aborted when told to stop.
std::vector<Blob> find_blobs(const image& picture, DotPolarity polarity, double min_radius,
                             double max_radius, double min_significance, Progress& progress);

}  // namespace vyn
