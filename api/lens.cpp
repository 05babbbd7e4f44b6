#include "api/lens.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "api/isa.h"
#include "api/kernels/radial_kernels.h"

namespace vyn {

VYN_CHOOSE_KERNELS(RadialKernels, radial_kernels)

namespace {

RadialRow radial_row(const Distortion& lens) {
    return {lens.cx, lens.cy, lens.a2, lens.a4};
}

constexpr std::size_t series_order = 12;
using Powers = std::array<double, series_order + 1>;

/// Ratio of camera to ideal offset as powers of r^2, the square of the ideal one. Each round of
/// d = 1 + a2 d^2 r^2 + a4 d^4 r^4 makes one more of them right.
Powers power_series(const Distortion& lens) {
    const auto product = [](const Powers& a, const Powers& b) {
        Powers c{};
        for (std::size_t i = 0; i < c.size(); ++i)
            for (std::size_t k = 0; k <= i; ++k)
                c[i] += a[k] * b[i - k];
        return c;
    };
    Powers d{1};
    for (std::size_t round = 0; round < series_order; ++round) {
        const Powers d2 = product(d, d);
        const Powers d4 = product(d2, d2);
        for (std::size_t k = 1; k < d.size(); ++k)
            d[k] = lens.a2 * d2[k - 1] + (k > 1 ? lens.a4 * d4[k - 2] : 0);
    }
    return d;
}

/// Coefficients of the Chebyshev polynomial T_n(2 x - 1).
Powers shifted_chebyshev(std::size_t n) {
    Powers before{1};
    Powers now{-1, 2};
    for (std::size_t i = 1; i < n; ++i) {
        Powers next{};
        for (std::size_t k = 0; k <= series_order; ++k)
            next[k] = (k > 0 ? 4 * now[k - 1] : 0) - 2 * now[k] - before[k];
        before = std::exchange(now, next);
    }
    return now;
}

/// As far as the power series is good to 1e-9, shortened by Chebyshev polynomials (Lanczos 1938),
/// which spread what is left out over that range: some 1e-8 with five terms.
RadialSeries series_of(const Distortion& lens) {
    constexpr double left_out = 1e-9;
    Powers d = power_series(lens);
    RadialSeries series{};
    series.reach = 1e12;  // a million pixels: some end, for lenses that hardly bend
    for (const std::size_t k : {series_order - 1, series_order})
        series.reach =
            std::min(series.reach, std::pow(left_out / std::abs(d[k]), 1 / static_cast<double>(k)));
    double scale = 1;
    for (std::size_t k = 1; k < d.size(); ++k)  // in units of the reach
        d[k] *= scale *= series.reach;
    for (std::size_t n = series_order; n > radial_terms; --n) {
        const Powers shape = shifted_chebyshev(n);
        const double share = d[n] / shape[n];
        // the centre stays where it is
        for (std::size_t k = 1; k <= n; ++k)
            d[k] -= share * shape[k];
    }
    scale = 1;
    for (std::size_t k = 0; k < radial_terms; ++k)
        series.c[k] = d[k + 1] / (scale *= series.reach);
    if (!std::ranges::all_of(series.c, [](double c) { return std::isfinite(c); }))
        series = {-1, {}};  // reaches nothing
    return series;
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

DistortedRows::DistortedRows(const Distortion& lens)
    : lens_(lens),
      series_(std::make_shared<const RadialSeries>(series_of(lens))),
      kernels_(active_radial_kernels()) {}

void DistortedRows::operator()(int n, double* x, double* y) const {
    if (lens_.none()) return;
    kernels_.positions_in_place(radial_row(lens_), *series_, n, x, y);
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
