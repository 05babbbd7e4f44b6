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

struct RadialKernels {
    /// Camera positions of the ideal pixels (x0 .. x0 + n - 1, y).
    void (*positions)(const RadialRow& lens, int x0, int n, int y, double* camera_x,
                      double* camera_y);
    /// Camera positions of n ideal positions, in their place.
    void (*positions_in_place)(const RadialRow& lens, int n, double* x, double* y);
};

}  // namespace vyn
