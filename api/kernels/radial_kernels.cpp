// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "api/kernels/radial_kernels.h"

#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

/// Vectors that iterate side by side, because each step waits for the one before.
constexpr int depth = 4;
constexpr int group = depth * half_lanes;

/// Ratio of camera to ideal offset. A lane that met the stop rule keeps its value while others go
/// on, so that every lane has the bits of the scalar iteration.
inline void scale_group(const RadialRow& lens, const vdouble (&r2)[depth], vdouble (&d)[depth]) {
    vlong active[depth];
    for (int i = 0; i < depth; ++i) {
        d[i] = (r2[i] * lens.a4 + lens.a2) * r2[i] + 1;
        active[i] = ~vlong{};
    }
    for (int step = 0; step < radial_steps; ++step) {
        vlong anywhere{};
        for (int i = 0; i < depth; ++i) {
            const vdouble rho = d[i] * d[i] * r2[i];
            const vdouble next = (rho * lens.a4 + lens.a2) * rho + 1;
            const vdouble change = next - d[i];
            d[i] = active[i] ? next : d[i];
            active[i] &= ~((change <= radial_step) & (change >= -radial_step));
            anywhere |= active[i];
        }
        if (!any(anywhere)) return;
    }
}

/// The same by the series, in the lanes that it reaches.
inline void scale_group(const RadialRow& lens, const RadialSeries& series,
                        const vdouble (&r2)[depth], vdouble (&d)[depth]) {
    vlong outside{};
    for (int i = 0; i < depth; ++i) {
        outside |= ~(r2[i] <= series.reach);
        d[i] = r2[i] * series.c[radial_terms - 1] + series.c[radial_terms - 2];
        for (int k = radial_terms - 3; k >= 0; --k)
            d[i] = d[i] * r2[i] + series.c[k];
        d[i] = d[i] * r2[i] + 1;
    }
    if (!any(outside)) return;
    vdouble iterated[depth];
    scale_group(lens, r2, iterated);
    for (int i = 0; i < depth; ++i)
        d[i] = r2[i] <= series.reach ? d[i] : iterated[i];
}

void positions(const RadialRow& lens, int x0, int n, int y, double* camera_x, double* camera_y) {
    const vdouble dy = vdouble{} + (y - lens.cy);
    for (int i = 0; i < n; i += group) {
        vdouble dx[depth];
        vdouble r2[depth];
        vdouble d[depth];
        for (int k = 0; k < depth; ++k) {
            dx[k] = counting<vdouble>() + static_cast<double>(x0 + i + k * half_lanes) - lens.cx;
            r2[k] = dx[k] * dx[k] + dy * dy;
        }
        scale_group(lens, r2, d);
        double group_x[group];
        double group_y[group];
        const bool whole = i + group <= n;
        double* const to_x = whole ? camera_x + i : group_x;
        double* const to_y = whole ? camera_y + i : group_y;
        for (int k = 0; k < depth; ++k) {
            store(to_x + k * half_lanes, dx[k] * d[k] + lens.cx);
            store(to_y + k * half_lanes, dy * d[k] + lens.cy);
        }
        for (int k = 0; !whole && i + k < n; ++k) {
            camera_x[i + k] = group_x[k];
            camera_y[i + k] = group_y[k];
        }
    }
}

void move_group(const RadialRow& lens, const RadialSeries& series, double* x, double* y) {
    vdouble dx[depth];
    vdouble dy[depth];
    vdouble r2[depth];
    vdouble d[depth];
    for (int k = 0; k < depth; ++k) {
        dx[k] = load<vdouble>(x + k * half_lanes) - lens.cx;
        dy[k] = load<vdouble>(y + k * half_lanes) - lens.cy;
        r2[k] = dx[k] * dx[k] + dy[k] * dy[k];
    }
    scale_group(lens, series, r2, d);
    for (int k = 0; k < depth; ++k) {
        store(x + k * half_lanes, dx[k] * d[k] + lens.cx);
        store(y + k * half_lanes, dy[k] * d[k] + lens.cy);
    }
}

void positions_in_place(const RadialRow& lens, const RadialSeries& series, int n, double* x,
                        double* y) {
    int i = 0;
    for (; i + group <= n; i += group)
        move_group(lens, series, x + i, y + i);
    if (i == n) return;
    double last_x[group]{};
    double last_y[group]{};
    for (int k = 0; i + k < n; ++k) {
        last_x[k] = x[i + k];
        last_y[k] = y[i + k];
    }
    move_group(lens, series, last_x, last_y);
    for (int k = 0; i + k < n; ++k) {
        x[i + k] = last_x[k];
        y[i + k] = last_y[k];
    }
}

}  // namespace

extern const RadialKernels radial_kernels;
const RadialKernels radial_kernels = {positions, positions_in_place};

}  // namespace vyn::VYN_ISA
