#pragma once

namespace vyn {

/// A pinhole camera in the frame and unit of what it sees: camera coordinates are
/// turn * place + shift (x right, y down, z forward), focal lengths and centre in pixels.
struct PinholeView {
    double turn[3][3];
    double shift[3];
    double fx;
    double fy;
    double cx;
    double cy;
};

struct PinholeKernels {
    /// Ideal pixels of n places of three numbers each; NaN at or behind the camera.
    void (*pixels)(const PinholeView& view, const double* places, int n, double* x, double* y);
};

}  // namespace vyn
