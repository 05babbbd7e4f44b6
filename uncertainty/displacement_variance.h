#pragma once

#include <string>

#include "align/image_map.h"
#include "align/marker_alignment.h"
#include "api/bitmap.h"
#include "api/image.h"

namespace vyn {

/// How sure the place is at which a picture shows the pixels of the frame: variances along x and y,
/// pixels squared, on nodes every `step` pixels and linear between them.
struct DisplacementVariance {
    std::string source;  ///< what it is known from, for reports
    int step = 1;
    Bitmap<float> x;  ///< node (c, r) stands for pixel (c * step, r * step)
    Bitmap<float> y;

    bool known() const { return !x.empty(); }
    DisplacementVariance halved() const;
    /// The variances of the pixels (0 .. n - 1, row).
    void row(int n, int row, float* var_x, float* var_y) const;
    /// Root mean square over the nodes of one axis' deviation, pixels; 0 when not known.
    double typical() const;
};

/// Of a mapping fitted to pairs of markers, for a frame of this size: the variance that the fit
/// hands on to its values, s^2 phi' (A'A)^-1 phi, and what the uncertainty of the markers does not
/// explain of the residuals, the model's bending between them, max(0, SSE / (P - n) - 2 sigma^2)
/// (P pairs, n coefficients an axis). s^2 = SSE / (P - n - 1): two such deviations hold 94 % where
/// P - n is 10, those of the mean square itself 93 %, while Student's variance, SSE / (P - n - 2),
/// is a tenth too wide there. With too few pairs for s it is 2 sigma^2. `marker_sigma` in pixels,
/// of a marker in one picture.
DisplacementVariance variance_of_markers(const MarkerMatch& match, double marker_sigma, int width,
                                         int height);

/// Of an alignment by texture: the image of its standard deviations, whose nodes hold those of u
/// and v.
DisplacementVariance variance_of_correlation(const image& sigma);

/// Of places in one picture about pixels of another, for the frame of this size that both are
/// mapped from: `reference` leads from it to the pixels that the nodes stand for, `moved` to the
/// places, whose pixels may be larger or turned.
DisplacementVariance carried_to_frame(const DisplacementVariance& of_picture,
                                      const ImageMap& reference, const ImageMap& moved, int width,
                                      int height);

/// The same everywhere; `sigma` in pixels. Not known for 0.
DisplacementVariance uniform_variance(double sigma, int width, int height);

}  // namespace vyn
