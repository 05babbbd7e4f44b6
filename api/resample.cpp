#include "api/resample.h"

#include <algorithm>

#include "api/image_parts.h"
#include "api/isa.h"
#include "api/parallel.h"
#include "api/spline.h"

namespace vyn {

VYN_CHOOSE_KERNELS(SplineKernels, spline_kernels)

namespace {

constexpr int tile_width = 1024;
constexpr int tile_height = 16;

struct OutputPlanes {
    Bitmap<float> values;
    Bitmap<std::uint8_t> mask;
    Bitmap<std::uint8_t> region;  ///< empty when the source has none
};

/// Fills output pixels tile by tile, small enough that the coefficients stay in the cache from row
/// to row.
class TileResampler {
  public:
    TileResampler(const image& source, const SplineCoefficients& spline, const RowMap& map,
                  OutputPlanes& out)
        : spline_(spline.plane()),
          sample_(active_spline_kernels().samples),
          bytes_{source.mask().row(0), source.has_region() ? source.region().row(0) : nullptr,
                 source.mask().stride(), source.width(), source.height()},
          map_(map),
          out_(out) {}

    void rows(int y0, int y1) const {
        const int width = out_.values.width();
        for (int x0 = 0; x0 < width; x0 += tile_width)
            for (int y = y0; y < y1; ++y)
                row(x0, std::min(tile_width, width - x0), y);
    }

  private:
    void row(int x0, int n, int y) const {
        double source_x[tile_width];
        double source_y[tile_width];
        map_(x0, n, y, source_x, source_y);
        sample_(spline_, bytes_, source_x, source_y, n, out_.values.row(y) + x0,
                out_.mask.row(y) + x0, out_.region.empty() ? nullptr : out_.region.row(y) + x0);
    }

    const SplinePlane spline_;
    decltype(SplineKernels::samples) const sample_;
    const BytePlanes bytes_;
    const RowMap& map_;
    OutputPlanes& out_;
};

OutputPlanes resample_planes(const image& source, int width, int height, const RowMap& map,
                             Progress& progress) {
    SubProgress prefilter(progress, 0, 0.4);
    SubProgress evaluation(progress, 0.4, 1);
    const SplineCoefficients spline(source.values(), source.mask(), source.degree, source.edges,
                                    prefilter);
    OutputPlanes out{Bitmap<float>(width, height), Bitmap<std::uint8_t>(width, height), {}};
    if (source.has_region()) out.region = Bitmap<std::uint8_t>(width, height);
    const TileResampler tiles(source, spline, map, out);
    parallel_rows(height, tile_height, evaluation, [&](int y0, int y1) { tiles.rows(y0, y1); });
    return out;
}

/// What an empty source gives: nothing but outside.
OutputPlanes outside_planes(const image& source, int width, int height) {
    OutputPlanes out{Bitmap<float>(width, height, 0), Bitmap<std::uint8_t>(width, height, 1), {}};
    if (source.has_region()) out.region = Bitmap<std::uint8_t>(width, height, 0);
    return out;
}

}  // namespace

image resample(const image& source, int width, int height, const RowMap& map, Progress& progress) {
    check_all_planes(source);
    OutputPlanes out = source.values().empty()
                           ? outside_planes(source, width, height)
                           : resample_planes(source, width, height, map, progress);
    image result =
        with_planes(source, std::move(out.values), std::move(out.mask), PixelFrame::other);
    if (source.has_region()) result.set_region(std::move(out.region));
    return result;
}

}  // namespace vyn
