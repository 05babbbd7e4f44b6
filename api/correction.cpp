#include "api/correction.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "api/image_parts.h"
#include "api/isa.h"
#include "api/kernels/pixel_kernels.h"
#include "api/kernels/radial_kernels.h"
#include "api/parallel.h"
#include "api/resample.h"

namespace vyn {

VYN_CHOOSE_KERNELS(PixelKernels, pixel_kernels)
VYN_CHOOSE_KERNELS(RadialKernels, radial_kernels)

namespace {

constexpr int rows_per_block = 32;

ConstPixelRow row_of(const image* picture, int y) {
    if (!picture) return {nullptr, nullptr};
    return {picture->values().row(y), picture->mask().row(y)};
}

void check_partner(const image& source, const image* partner) {
    if (!partner) return;
    partner->check_planes();
    check_same_size(source, *partner);
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
    active_radial_kernels().positions_in_place({lens.cx, lens.cy, lens.a2, lens.a4}, n, x, y);
}

Point ideal_position(const Distortion& lens, Point camera) {
    const double dx = camera.x - lens.cx;
    const double dy = camera.y - lens.cy;
    const double r2 = dx * dx + dy * dy;
    const double f = (r2 * lens.a4 + lens.a2) * r2 + 1;
    if (std::abs(f) < 1e-10) return {dx, dy};
    return {dx / f + lens.cx, dy / f + lens.cy};
}

image correct_intensity(const image& source, float dark_level, const image* dark, const image* flat,
                        Progress& progress) {
    source.check_planes();
    check_partner(source, dark);
    check_partner(source, flat);
    const float level = dark_level > 0 ? dark_level : -std::numeric_limits<float>::infinity();
    const int width = source.width();
    const PixelKernels& kernels = active_pixel_kernels();
    Bitmap<float> values(width, source.height());
    Bitmap<std::uint8_t> mask(width, source.height());
    Bitmap<std::uint8_t> region(width, source.height());
    parallel_rows(source.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            kernels.correct(row_of(&source, y), level, row_of(dark, y), row_of(flat, y), width,
                            {values.row(y), mask.row(y)});
            std::memset(region.row(y), 1, static_cast<std::size_t>(width));
        }
    });
    image result = with_planes(source, std::move(values), std::move(mask));
    result.set_region(std::move(region));
    return result;
}

image undistort(const image& source, const Distortion& lens, Progress& progress) {
    if (lens.none()) return source;
    const RadialRow model{lens.cx, lens.cy, lens.a2, lens.a4};
    const RadialKernels& kernels = active_radial_kernels();
    image result = resample(
        source, source.width(), source.height(),
        [&](int x0, int n, int y, double* source_x, double* source_y) {
            kernels.positions(model, x0, n, y, source_x, source_y);
        },
        progress);
    for (Marker& marker : result.markers.markers) {
        const Point ideal = ideal_position(lens, {marker.x, marker.y});
        marker.x = ideal.x;
        marker.y = ideal.y;
    }
    return result;
}

}  // namespace vyn
