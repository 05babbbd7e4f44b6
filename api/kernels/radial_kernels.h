#pragma once

namespace vyn {

/// Radial model about (cx, cy); see api/lens.h.
struct RadialRow {
    double cx;
    double cy;
    double a2;
    double a4;
};

/// Stop rule of the fixed-point iteration.
inline constexpr double radial_step = 1e-6;
inline constexpr int radial_steps = 100;

/// Powers of r^2 in the series of a lens; see api/lens.h.
inline constexpr int radial_terms = 5;

/// Camera offset = ideal offset * (1 + r^2 (c[0] + c[1] r^2 + ...)) as far as r^2 = `reach`.
struct RadialSeries {
    double reach;
    double c[radial_terms];
};

struct RadialKernels {
    /// Camera positions of the ideal pixels (x0 .. x0 + n - 1, y).
    void (*positions)(const RadialRow& lens, int x0, int n, int y, double* camera_x,
                      double* camera_y);
    /// Camera positions of n ideal positions, in their place: by the series, and iterated beyond
    /// its reach.
    void (*positions_in_place)(const RadialRow& lens, const RadialSeries& series, int n, double* x,
                               double* y);
};

}  // namespace vyn
