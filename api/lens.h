#pragma once

#include <memory>

#include "api/point.h"

namespace vyn {

struct RadialKernels;
struct RadialSeries;

/// Radial lens distortion in pixels: U = D / (1 + a2 |D|^2 + a4 |D|^4), U the ideal and D the
/// distorted (camera) offset from the image centre (division model, Fitzgibbon 2001). a2 in 1/px^2,
/// a4 in 1/px^4.
struct Distortion {
    double cx = 0;
    double cy = 0;
    double a2 = 0;
    double a4 = 0;
    bool none() const { return a2 == 0 && a4 == 0; }
    bool operator==(const Distortion&) const = default;
};

/// Where the camera saw an ideal point: fixed-point iteration of d = 1 + a2 (d r)^2 + a4 (d r)^4
/// until a step is at most 1e-6 or 100 steps, and d as the last step left it; the point itself at
/// the centre. Not finite where the iteration diverges.
Point distorted_position(const Distortion& lens, Point ideal);
/// The same for the pixels (x0 .. x0 + n - 1, y).
void distorted_pixels(const Distortion& lens, int x0, int n, int y, double* camera_x,
                      double* camera_y);
/// The ideal point of a camera position, in closed form. Where |1 + a2 r^2 + a4 r^4| < 1e-10 the
/// answer is the offset from the centre, without the centre added back.
Point ideal_position(const Distortion& lens, Point camera);
/// Where the camera saw an ideal point: the exact inverse of `ideal_position`, by Newton's method
/// on the radius. For lenses whose distortion grows with the radius up to the point.
Point exact_camera_position(const Distortion& lens, Point ideal);
/// Many positions at once, in their place. Near the centre by a polynomial in r^2, within some 1e-8
/// of the offset from the centre of `exact_camera_position`; beyond its reach, where |a2| r^2 is
/// some 0.05 (less with a strong a4), as `distorted_position`.
class DistortedRows {
  public:
    explicit DistortedRows(const Distortion& lens);
    void operator()(int n, double* x, double* y) const;

  private:
    Distortion lens_;
    std::shared_ptr<const RadialSeries> series_;
    const RadialKernels& kernels_;
};

/// How the camera position moves with the ideal point, there. Not finite where the camera position
/// is not.
Jacobian distortion_derivative(const Distortion& lens, Point ideal);

}  // namespace vyn
