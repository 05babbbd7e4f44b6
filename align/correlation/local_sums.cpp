#include "align/correlation/local_sums.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "align/correlation/correlation_kernel_choice.h"
#include "api/parallel.h"

namespace vyn {

namespace {

constexpr double gauss_tiles = 2;
constexpr int reach = 6;
constexpr float least_share = 0.05F;

struct TilePlanes {
    Bitmap<float> sums;
    Bitmap<float> counts;
};

TilePlanes tile_planes(const Bitmap<float>& values, const Bitmap<std::uint8_t>& used, int tile,
                       Progress& progress) {
    const int w = values.width();
    const int columns = (w - 1) / tile + 1;
    const int rows = (values.height() - 1) / tile + 1;
    TilePlanes tiles{Bitmap<float>(columns, rows), Bitmap<float>(columns, rows)};
    const CorrelationKernels& kernels = kernels_of_correlation();
    parallel_rows(rows, 4, progress, [&](int r0, int r1) {
        Bitmap<float> lines(w, 2);
        for (int r = r0; r < r1; ++r) {
            lines.fill(0);
            for (int y = r * tile; y < std::min((r + 1) * tile, values.height()); ++y)
                kernels.add_row(values.row(y), used.row(y), w, lines.row(0), lines.row(1));
            for (int c = 0; c < columns; ++c) {
                float sum = 0;
                float count = 0;
                for (int x = c * tile; x < std::min((c + 1) * tile, w); ++x) {
                    sum += lines(x, 0);
                    count += lines(x, 1);
                }
                tiles.sums(c, r) = sum;
                tiles.counts(c, r) = count;
            }
        }
    });
    return tiles;
}

/// Gaussian over the tiles; what lies outside counts as unused.
Bitmap<float> smoothed(const Bitmap<float>& plane) {
    float factors[2 * reach + 1];
    for (int k = -reach; k <= reach; ++k)
        factors[k + reach] =
            static_cast<float>(std::exp(-0.5 * k * k / (gauss_tiles * gauss_tiles)));
    const int w = plane.width();
    const int h = plane.height();
    Bitmap<float> across(w, h);
    std::vector<float> line(static_cast<std::size_t>(w + 2 * reach), 0.0F);
    for (int y = 0; y < h; ++y) {
        std::copy_n(plane.row(y), w, line.data() + reach);
        float* const out = across.row(y);
        std::fill_n(out, w, 0.0F);
        for (int k = 0; k <= 2 * reach; ++k)
            for (int x = 0; x < w; ++x)
                out[x] += factors[k] * line[static_cast<std::size_t>(x + k)];
    }
    Bitmap<float> result(w, h);
    for (int y = 0; y < h; ++y) {
        float* const out = result.row(y);
        std::fill_n(out, w, 0.0F);
        for (int k = std::max(-reach, -y); k <= std::min(reach, h - 1 - y); ++k)
            for (int x = 0; x < w; ++x)
                out[x] += factors[k + reach] * across(x, y + k);
    }
    return result;
}

/// Where pixel x lies between the centres of the tiles.
struct Between {
    Between(int x, int tile, int tiles) {
        const float at = (static_cast<float>(x) + 0.5F) / static_cast<float>(tile) - 0.5F;
        first = std::clamp(static_cast<int>(std::floor(at)), 0, std::max(tiles - 2, 0));
        second = std::min(first + 1, tiles - 1);
        rest = std::clamp(at - static_cast<float>(first), 0.0F, 1.0F);
    }
    int first;
    int second;
    float rest;
};

/// Straight lines between the centres of the tiles of each row.
Bitmap<float> spread(const Bitmap<float>& tiles, int tile, int width, Progress& progress) {
    std::vector<Between> places;
    for (int x = 0; x < width; ++x)
        places.emplace_back(x, tile, tiles.width());
    Bitmap<float> result(width, tiles.height());
    parallel_rows(tiles.height(), 16, progress, [&](int r0, int r1) {
        for (int r = r0; r < r1; ++r) {
            const float* const from = tiles.row(r);
            float* const to = result.row(r);
            for (int x = 0; x < width; ++x) {
                const Between& place = places[static_cast<std::size_t>(x)];
                const float first = from[place.first];
                to[x] = first + place.rest * (from[place.second] - first);
            }
        }
    });
    return result;
}

}  // namespace

LocalSums::LocalSums(const Bitmap<float>& values, const Bitmap<std::uint8_t>& used, int tile,
                     Progress& progress)
    : tile_(tile) {
    TilePlanes tiles = tile_planes(values, used, tile, progress);
    tiles.sums = smoothed(tiles.sums);
    tiles.counts = smoothed(tiles.counts);
    const double around = 2 * 3.14159265 * gauss_tiles * gauss_tiles * tile * tile;
    const auto least = static_cast<float>(least_share * around);
    for (int r = 0; r < tiles.sums.height(); ++r)
        for (int c = 0; c < tiles.sums.width(); ++c)
            if (tiles.counts(c, r) < least) tiles.sums(c, r) = tiles.counts(c, r) = 0;
    sums_ = spread(tiles.sums, tile, values.width(), progress);
    weights_ = spread(tiles.counts, tile, values.width(), progress);
}

LocalSumRows LocalSums::rows(int y) const {
    const Between place(y, tile_, sums_.height());
    return {{sums_.row(place.first), sums_.row(place.second)},
            {weights_.row(place.first), weights_.row(place.second)},
            place.rest};
}

}  // namespace vyn
