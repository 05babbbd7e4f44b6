#pragma once

#include "api/image.h"
#include "api/point.h"
#include "core/progress.h"

namespace vyn {

/// Radial lens distortion in pixels: U = D / (1 + a2 |D|^2 + a4 |D|^4), U the ideal and D the
/// distorted (camera) offset from the image centre (division model, Fitzgibbon 2001). a2 in 1/px^2,
/// a4 in 1/px^4.
struct Distortion {
    double cx = 0;
    double cy = 0;
    double a2 = 0;
    double a4 = 0;
    bool none() const { return a2 == 0 && a4 == 0; }
};

/// Where the camera saw an ideal point: fixed-point iteration of d = 1 + a2 (d r)^2 + a4 (d r)^4
/// until a step is at most 1e-6 or 100 steps, and d as the last step left it; the point itself at
/// the centre. Not finite where the iteration diverges.
Point distorted_position(const Distortion& lens, Point ideal);
/// The same for n positions, in their place; equal results but for the point that is the centre,
/// which may be off by a rounding.
void distort_positions(const Distortion& lens, int n, double* x, double* y);
/// The ideal point of a camera position, in closed form. Where |1 + a2 r^2 + a4 r^4| < 1e-10 the
/// answer is the offset from the centre, without the centre added back.
Point ideal_position(const Distortion& lens, Point camera);

/// Dark and flat steps of the correction, in one pass from the source into a new image whose region
/// plane is all 1: exclude below the dark level (when above 0), subtract the dark image, exclude
/// what became negative, divide by the flat field. `dark` and `flat` may be null. The result is bit
/// for bit that of the separate operations of api/pixel_ops.h. Raises IndexError when sizes differ.
image correct_intensity(const image& source, float dark_level, const image* dark, const image* flat,
                        Progress& progress);

/// The image as an ideal lens would have seen it, sampled with B-splines of the image's degree;
/// mask and region bytes are those of the source pixel at the position truncated toward zero,
/// excluded and outside beyond the image. Moves the markers. Unchanged copy when the lens has no
/// distortion.
image undistort(const image& source, const Distortion& lens, Progress& progress);

}  // namespace vyn
