#include "api/lens.h"

#include <cmath>

#include "api/isa.h"
#include "api/kernels/radial_kernels.h"

namespace vyn {

VYN_CHOOSE_KERNELS(RadialKernels, radial_kernels)

namespace {

RadialRow radial_row(const Distortion& lens) {
    return {lens.cx, lens.cy, lens.a2, lens.a4};
}

}  // namespace

Point distorted_position(const Distortion& lens, Point ideal) {
    if (ideal.x == lens.cx && ideal.y == lens.cy) return ideal;
    const double dx = ideal.x - lens.cx;
    const double dy = ideal.y - lens.cy;
    const double r2 = dx * dx + dy * dy;
    double d = (r2 * lens.a4 + lens.a2) * r2 + 1;
    for (int step = 0; step < radial_steps; ++step) {
        const double rho = d * d * r2;
        const double next = (rho * lens.a4 + lens.a2) * rho + 1;
        const double change = std::abs(next - d);
        d = next;
        if (change <= radial_step) break;
    }
    return {dx * d + lens.cx, dy * d + lens.cy};
}

void distort_positions(const Distortion& lens, int n, double* x, double* y) {
    if (lens.none()) return;
    active_radial_kernels().positions_in_place(radial_row(lens), n, x, y);
}

void distorted_pixels(const Distortion& lens, int x0, int n, int y, double* camera_x,
                      double* camera_y) {
    active_radial_kernels().positions(radial_row(lens), x0, n, y, camera_x, camera_y);
}

Point ideal_position(const Distortion& lens, Point camera) {
    const double dx = camera.x - lens.cx;
    const double dy = camera.y - lens.cy;
    const double r2 = dx * dx + dy * dy;
    const double f = (r2 * lens.a4 + lens.a2) * r2 + 1;
    if (std::abs(f) < 1e-10) return {dx, dy};
    return {dx / f + lens.cx, dy / f + lens.cy};
}

Point exact_camera_position(const Distortion& lens, Point ideal) {
    const double dx = ideal.x - lens.cx;
    const double dy = ideal.y - lens.cy;
    const double wanted = std::hypot(dx, dy);
    if (wanted == 0 || lens.none()) return ideal;
    double radius = wanted;
    for (int i = 0; i < 50; ++i) {
        const double r2 = radius * radius;
        const double miss = radius - wanted * (1 + (lens.a2 + lens.a4 * r2) * r2);
        const double slope = 1 - wanted * radius * (2 * lens.a2 + 4 * lens.a4 * r2);
        const double step = miss / slope;
        radius -= step;
        // Newton's steps shrink quadratically: the next one would be lost in the rounding.
        if (std::abs(step) <= 1e-9 * radius) break;
    }
    return {lens.cx + dx * radius / wanted, lens.cy + dy * radius / wanted};
}

// With the camera offset D, rho = |D|^2 and f = 1 + a2 rho + a4 rho^2 the offset grows f-fold
// across the radius and f^2 / (f - 2 rho f')-fold along it.
Jacobian distortion_derivative(const Distortion& lens, Point ideal) {
    const Point camera = distorted_position(lens, ideal);
    const double dx = camera.x - lens.cx;
    const double dy = camera.y - lens.cy;
    const double rho = dx * dx + dy * dy;
    const double f = (rho * lens.a4 + lens.a2) * rho + 1;
    const double slope = 2 * rho * lens.a4 + lens.a2;
    const double radial = 2 * f * slope / (f - 2 * rho * slope);
    const double mixed = radial * dx * dy;
    return {f + radial * dx * dx, mixed, mixed, f + radial * dy * dy};
}

}  // namespace vyn
