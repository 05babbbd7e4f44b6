#pragma once

#include <array>
#include <span>

#include "api/point.h"
#include "api/resample.h"

namespace vyn {

/// A polynomial mapping of image coordinates (pixels), target frame from source frame. The n
/// coefficients per axis belong to the terms 1, x, y, xy, x^2, y^2, x^2 y, x y^2, x^3, y^3. n = 0
/// is the identity; n = 1 a pure shift, X = x + ax[0].
struct PolyTransform {
    std::array<double, 10> ax{};
    std::array<double, 10> ay{};
    int n = 0;
};

/// Coefficients per axis of an order: 1, 3, 6, 10 for 0 to 3, and 0 (the identity) for any other.
int poly_coefficient_count(int order);

/// The mapped point. Raises AlgoError when n is not 0, 1, 3, 6 or 10.
Point apply_poly(double x, double y, int n, std::span<const double, 10> ax,
                 std::span<const double, 10> ay);
inline Point apply_poly(const PolyTransform& map, Point p) {
    return apply_poly(p.x, p.y, map.n, map.ax, map.ay);
}

/// How the mapped point moves with `p`.
Jacobian poly_derivative(const PolyTransform& map, Point p);

/// The point that `map` takes to `target`, by Newton's method, to 1e-12 px or the rounding of the
/// coordinates. For mappings that bend little over the picture.
Point inverse_mapped(const PolyTransform& map, Point target);

/// How a fit came out.
struct PolyFit {
    PolyTransform map;
    bool ok = false;
    bool underdetermined = false;  ///< fewer equations than unknowns: the least correction to the
                                   ///< identity (minimum norm) that passes through the points
};

/// Least-squares mapping of `from` onto `to` (same count). Quadratic and cubic fits are set up
/// about the centre of their points, scaled to about +-1, and carried back. Raises AlgoError when n
/// is not 0, 1, 3, 6 or 10.
PolyFit fit_poly(std::span<const Point> from, std::span<const Point> to, int n);

/// The mapping for whole rows, with the bits of `apply_poly`.
RowMap row_map(const PolyTransform& map);
/// The mapping of n positions in their place, with the bits of `apply_poly`.
void apply_poly(const PolyTransform& map, int n, double* x, double* y);

}  // namespace vyn
