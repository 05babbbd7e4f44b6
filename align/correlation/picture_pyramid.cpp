#include "align/correlation/picture_pyramid.h"

#include <algorithm>
#include <vector>

#include "api/parallel.h"

namespace vyn {

namespace {

constexpr int rows_per_block = 16;
constexpr float binomial[5] = {1.0F / 16, 4.0F / 16, 6.0F / 16, 4.0F / 16, 1.0F / 16};
constexpr int reach = 2;

}  // namespace

MaskedPlane half_size(const MaskedPlane& plane, Progress& progress) {
    const int w = plane.width();
    const int h = plane.height();
    MaskedPlane result{Bitmap<float>((w + 1) / 2, (h + 1) / 2),
                       Bitmap<std::uint8_t>((w + 1) / 2, (h + 1) / 2)};
    parallel_rows(result.height(), rows_per_block, progress, [&](int y0, int y1) {
        const auto padded = static_cast<std::size_t>(w + 2 * reach + 1);
        std::vector<float> sums(padded);
        std::vector<float> weights(padded);
        for (int y = y0; y < y1; ++y) {
            std::fill(sums.begin(), sums.end(), 0.0F);
            std::fill(weights.begin(), weights.end(), 0.0F);
            float* const sum = sums.data() + reach;
            float* const weight = weights.data() + reach;
            for (int k = -reach; k <= reach; ++k) {
                const int row = 2 * y + k;
                if (row < 0 || row >= h) continue;
                const float* const values = plane.values.row(row);
                const std::uint8_t* const valid = plane.valid.row(row);
                const float factor = binomial[k + reach];
                for (int x = 0; x < w; ++x) {
                    const float used = valid[x] != 0 ? factor : 0.0F;
                    sum[x] += used * values[x];
                    weight[x] += used;
                }
            }
            for (int x = 0; x < result.width(); ++x) {
                float total = 0;
                float used = 0;
                for (int k = -reach; k <= reach; ++k) {
                    total += binomial[k + reach] * sum[2 * x + k];
                    used += binomial[k + reach] * weight[2 * x + k];
                }
                result.values(x, y) = used > 0 ? total / used : plane.values(2 * x, 2 * y);
                result.valid(x, y) = used >= 0.5F;
            }
        }
    });
    return result;
}

std::vector<MaskedPlane> smaller_copies(const MaskedPlane& plane, int least_side,
                                        Progress& progress) {
    std::vector<MaskedPlane> copies;
    const MaskedPlane* last = &plane;
    while ((std::min(last->width(), last->height()) + 1) / 2 >= least_side) {
        copies.push_back(half_size(*last, progress));
        last = &copies.back();
    }
    return copies;
}

}  // namespace vyn
