#pragma once

#include "api/bitmap.h"
#include "api/point.h"
#include "api/resample.h"

namespace vyn {

/// Displacements on a regular grid of nodes and a cubic spline through them, pixels: pixel (x, y)
/// of the one picture is seen at (x + u, y + v) of the other one.
///
/// Node (c, r) stands for pixel (c * step, r * step). Two rings of nodes lie outside the picture on
/// every side, so that the end conditions of the spline (no curvature) do not reach into it. Beyond
/// the outer ring the displacement stays what it is there.
class DisplacementField {
  public:
    static constexpr int ring = 2;

    DisplacementField() = default;
    /// The planes hold the rings, too: node (c, r) lies at (c + ring, r + ring). Raises DimError
    /// when they differ in size or hold nothing but rings, AlgoError for a step below 1.
    DisplacementField(int step, const Bitmap<double>& u, const Bitmap<double>& v);

    bool empty() const { return u_.empty(); }
    int step() const { return step_; }
    int columns() const { return u_.width() - 2 * (ring + 1); }
    int rows() const { return u_.height() - 2 * (ring + 1); }

    /// The displacement at a position; on a node what was given for it.
    Point at(Point position) const;

    /// Derivatives of (u, v) by x and y.
    struct Gradient {
        double ux, uy, vx, vy;
    };
    Gradient gradient(Point position) const;

    /// Adds the displacement to n positions in place.
    void displace(double* x, double* y, int n) const;

    /// Where the pixels (x0 .. x0 + n - 1, y) are seen, with the rounding of a double; x0 and y may
    /// lie outside the picture.
    void seen_at(int x0, int n, int y, double* seen_x, double* seen_y) const;

    /// The same as a map, which keeps a copy of the field.
    RowMap row_map() const;

  private:
    struct Place;
    Place place(double x, double y) const;

    int step_ = 1;
    Bitmap<double> u_;  ///< spline coefficients, with one more ring
    Bitmap<double> v_;
};

}  // namespace vyn
