#include "api/correction.h"

#include <cstring>
#include <limits>

#include "api/image_parts.h"
#include "api/isa.h"
#include "api/kernels/pixel_kernels.h"
#include "api/parallel.h"
#include "api/resample.h"

namespace vyn {

VYN_CHOOSE_KERNELS(PixelKernels, pixel_kernels)

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
    result.quantity = {Quantity::Kind::corrected_intensity};
    if (flat) result.unit.clear();  // a flat field is of any scale
    result.set_region(std::move(region));
    return result;
}

image undistort(const image& source, const Distortion& lens, Progress& progress) {
    if (lens.none()) return source;
    image result = resample(
        source, source.width(), source.height(),
        [&](int x0, int n, int y, double* source_x, double* source_y) {
            distorted_pixels(lens, x0, n, y, source_x, source_y);
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
