#include "align/correlation/masked_plane.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "align/correlation/correlation_kernel_choice.h"
#include "align/correlation/local_sums.h"
#include "api/parallel.h"

namespace vyn {

namespace {

constexpr int rows_per_block = 32;
constexpr int rim = 2;

Bitmap<std::uint8_t> usable_bytes(const image& picture, float level, Progress& progress) {
    const Bitmap<float>& values = picture.values();
    const Bitmap<std::uint8_t>* const region = picture.has_region() ? &picture.region() : nullptr;
    Bitmap<std::uint8_t> usable(values.width(), values.height());
    parallel_rows(values.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const float* const value = values.row(y);
            const std::uint8_t* const mask = picture.mask().row(y);
            const std::uint8_t* const inside = region ? region->row(y) : nullptr;
            std::uint8_t* const out = usable.row(y);
            for (int x = 0; x < values.width(); ++x)
                out[x] = (mask[x] == 0) & (value[x] >= level) &
                         (std::abs(value[x]) < std::numeric_limits<float>::infinity());
            if (inside)
                for (int x = 0; x < values.width(); ++x)
                    out[x] &= inside[x] != 0;
        }
    });
    return usable;
}

/// Mean of the usable values, row by row so that the threads do not show.
double mean_of(const Bitmap<float>& values, const Bitmap<std::uint8_t>& usable) {
    double whole = 0;
    double count = 0;
    for (int y = 0; y < values.height(); ++y) {
        double sum = 0;
        for (int x = 0; x < values.width(); ++x)
            if (usable(x, y)) {
                sum += static_cast<double>(values(x, y));
                ++count;
            }
        whole += sum;
    }
    return count > 0 ? whole / count : 0;
}

}  // namespace

Bitmap<std::uint8_t> eroded(const Bitmap<std::uint8_t>& bytes, int reach, Progress& progress) {
    const int w = bytes.width();
    const int h = bytes.height();
    Bitmap<std::uint8_t> result(w, h);
    const CorrelationKernels& kernels = kernels_of_correlation();
    parallel_rows(h, rows_per_block, progress, [&](int y0, int y1) {
        std::vector<std::uint8_t> line(static_cast<std::size_t>(w + 2 * reach), 1);
        std::vector<const std::uint8_t*> rows;
        for (int y = y0; y < y1; ++y) {
            rows.clear();
            for (int k = std::max(y - reach, 0); k <= std::min(y + reach, h - 1); ++k)
                rows.push_back(bytes.row(k));
            kernels.and_rows(rows.data(), static_cast<int>(rows.size()), w, line.data() + reach);
            rows.clear();
            for (int k = 0; k <= 2 * reach; ++k)
                rows.push_back(line.data() + k);
            kernels.and_rows(rows.data(), 2 * reach + 1, w, result.row(y));
        }
    });
    return result;
}

std::int64_t count_set(const Bitmap<std::uint8_t>& bytes) {
    std::int64_t count = 0;
    for (int y = 0; y < bytes.height(); ++y)
        count += std::count_if(bytes.row(y), bytes.row(y) + bytes.width(),
                               [](std::uint8_t byte) { return byte != 0; });
    return count;
}

MaskedPlane usable_pixels(const image& picture, float level, int tile, Progress& progress) {
    picture.check_planes();
    MaskedPlane plane;
    const Bitmap<std::uint8_t> usable = usable_bytes(picture, level, progress);
    plane.valid = eroded(usable, rim, progress);
    plane.values = picture.values();
    if (count_set(usable) == static_cast<std::int64_t>(usable.count())) return plane;

    const auto mean = static_cast<float>(mean_of(plane.values, usable));
    const LocalSums local(plane.values, usable, tile, progress);
    parallel_rows(plane.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const LocalSumRows rows = local.rows(y);
            for (int x = 0; x < plane.width(); ++x) {
                if (usable(x, y)) continue;
                const float weight =
                    rows.weights[0][x] + rows.between * (rows.weights[1][x] - rows.weights[0][x]);
                const float sum =
                    rows.values[0][x] + rows.between * (rows.values[1][x] - rows.values[0][x]);
                plane.values(x, y) = weight > 0 ? sum / weight : mean;
            }
        }
    });
    return plane;
}

}  // namespace vyn
