#include "align/correlation/warp.h"

#include <vector>

#include "api/parallel.h"

namespace vyn {

namespace {

constexpr int rows_per_block = 16;

/// 1 where a position lies in a picture of that size.
void inside(const double* x, const double* y, int width, int height, std::uint8_t* __restrict out) {
    const double right = width - 1;
    const double bottom = height - 1;
    for (int i = 0; i < width; ++i)
        out[i] = (x[i] >= 0) & (x[i] <= right) & (y[i] >= 0) & (y[i] <= bottom);
}

}  // namespace

WarpSource::WarpSource(const MaskedPlane& plane, Progress& progress)
    : valid_(plane.valid),
      complete_(count_set(plane.valid) == static_cast<std::int64_t>(plane.valid.count())),
      spline_(plane.values, plane.valid, 3, SplineEdges::stored, progress) {}

MaskedPlane WarpSource::seen_through(const DisplacementField& field, Progress& progress) const {
    const int w = valid_.width();
    const int h = valid_.height();
    MaskedPlane result{Bitmap<float>(w, h), Bitmap<std::uint8_t>(w, h)};
    const SplineEvaluation evaluate(spline_);
    parallel_rows(h, rows_per_block, progress, [&](int y0, int y1) {
        std::vector<double> xs(static_cast<std::size_t>(w));
        std::vector<double> ys(static_cast<std::size_t>(w));
        for (int y = y0; y < y1; ++y) {
            field.seen_at(0, w, y, xs.data(), ys.data());
            evaluate(xs.data(), ys.data(), w, result.values.row(y));
            std::uint8_t* const valid = result.valid.row(y);
            inside(xs.data(), ys.data(), w, h, valid);
            if (complete_) continue;
            for (int i = 0; i < w; ++i)
                if (valid[i] != 0)
                    valid[i] = valid_(static_cast<int>(xs[static_cast<std::size_t>(i)] + 0.5),
                                      static_cast<int>(ys[static_cast<std::size_t>(i)] + 0.5));
        }
    });
    return result;
}

}  // namespace vyn
