#include "align/correlation/cell_search.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "align/correlation/correlation_kernel_choice.h"
#include "align/correlation/correlation_surface.h"
#include "align/correlation/local_sums.h"
#include "align/correlation/subpixel_peak.h"
#include "api/parallel.h"

namespace vyn {

namespace {

constexpr int node_rows_per_block = 2;
constexpr double least_share = 0.5;
constexpr int column_group = 16;  ///< of the matching kernel
constexpr double flat = 1e-9;     ///< sum of squares that is rounding only

/// Sums over rectangles of a padded plane: of the values, their squares and the used pixels.
class RectangleSums {
  public:
    RectangleSums(const Bitmap<float>& plane, const Bitmap<std::uint8_t>& used, int margin)
        : values_(plane.width() + 1, plane.height() + 1, 0.0),
          squares_(values_),
          counts_(plane.width() + 1, plane.height() + 1, 0) {
        for (int y = 0; y < plane.height(); ++y) {
            double value = 0;
            double square = 0;
            int count = 0;
            for (int x = 0; x < plane.width(); ++x) {
                const double v = static_cast<double>(plane(x, y));
                value += v;
                square += v * v;
                count += used.contains(x - margin, y - margin) && used(x - margin, y - margin) != 0;
                values_(x + 1, y + 1) = values_(x + 1, y) + value;
                squares_(x + 1, y + 1) = squares_(x + 1, y) + square;
                counts_(x + 1, y + 1) = counts_(x + 1, y) + count;
            }
        }
    }
    int count(int x, int y, int side) const { return over(counts_, x, y, side); }
    /// Sum of the squared distances from the mean.
    double scatter(int x, int y, int side) const {
        const double sum = over(values_, x, y, side);
        return over(squares_, x, y, side) - sum * sum / std::max(count(x, y, side), 1);
    }

  private:
    template <class T>
    static T over(const Bitmap<T>& sums, int x, int y, int side) {
        return sums(x + side, y + side) - sums(x, y + side) - sums(x + side, y) + sums(x, y);
    }
    Bitmap<double> values_;
    Bitmap<double> squares_;
    Bitmap<int> counts_;
};

/// Copies a cell less its mean, 0 where it is not used, and gives the sum of its squares; 0 when
/// too little of it is used.
double template_of(const Bitmap<float>& plane, const Bitmap<std::uint8_t>& used, int margin, int x0,
                   int y0, int side, float* cell, int stride) {
    const auto is_used = [&](int x, int y) {
        return used.contains(x - margin, y - margin) && used(x - margin, y - margin) != 0;
    };
    int count = 0;
    double sum = 0;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            if (is_used(x0 + x, y0 + y)) {
                sum += static_cast<double>(plane(x0 + x, y0 + y));
                ++count;
            }
    if (count < least_share * side * side) return 0;
    const auto mean = static_cast<float>(sum / count);
    double scatter = 0;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const float value = is_used(x0 + x, y0 + y) ? plane(x0 + x, y0 + y) - mean : 0.0F;
            cell[y * stride + x] = value;
            scatter += static_cast<double>(value) * static_cast<double>(value);
        }
    return scatter;
}

}  // namespace

Bitmap<float> contrast_plane(const MaskedPlane& plane, int cell, int margin, Progress& progress) {
    const LocalSums local(plane.values, plane.valid, std::max(cell / 4, 1), progress);
    Bitmap<float> result(plane.width() + 2 * margin, plane.height() + 2 * margin, 0.0F);
    parallel_rows(plane.height(), 32, progress, [&](int y0, int y1) {
        std::vector<float> line(static_cast<std::size_t>(plane.width() + column_group));
        for (int y = y0; y < y1; ++y) {
            kernels_of_correlation().contrast(plane.values.row(y), plane.valid.row(y),
                                              local.rows(y), plane.width(), line.data());
            std::copy_n(line.data(), plane.width(), result.row(y + margin) + margin);
        }
    });
    return result;
}

CellMatches search_cells(const AlignedPair& pair, const NodeGrid& grid, int radius,
                         Progress& progress) {
    const int side = grid.cell;
    const int half = side / 2;
    const int margin = side + radius + column_group;
    const Bitmap<float> off = contrast_plane(pair.off, side, margin, progress);
    const Bitmap<float> on = contrast_plane(pair.on, side, margin, progress);
    const RectangleSums on_sums(on, pair.on.valid, margin);
    const double least_count = least_share * side * side;
    const int columns = grid.columns();
    const int rows = grid.rows();
    CellMatches result{{Bitmap<double>(columns, rows, 0.0), Bitmap<double>(columns, rows, 0.0),
                        Bitmap<std::uint8_t>(columns, rows, 0)},
                       Bitmap<float>(columns, rows, 0.0F)};
    const int cell_stride = (side + column_group - 1) / column_group * column_group;

    parallel_rows(rows, node_rows_per_block, progress, [&](int r0, int r1) {
        std::vector<float> cell(static_cast<std::size_t>(cell_stride * side), 0.0F);
        std::vector<float> products(static_cast<std::size_t>(2 * radius + 1));
        CorrelationSurface surface(radius);
        for (int r = r0; r < r1; ++r)
            for (int c = 0; c < columns; ++c) {
                const int x0 = c * grid.step - half + margin;
                const int y0 = r * grid.step - half + margin;
                const double scatter = template_of(off, pair.off.valid, margin, x0, y0, side,
                                                   cell.data(), cell_stride);
                if (!(scatter > flat)) continue;
                for (int dy = -radius; dy <= radius; ++dy) {
                    kernels_of_correlation().match(cell.data(), cell_stride, side, side,
                                                   on.row(y0 + dy) + x0 - radius, on.stride(),
                                                   2 * radius + 1, products.data());
                    for (int dx = -radius; dx <= radius; ++dx) {
                        const double other = on_sums.scatter(x0 + dx, y0 + dy, side);
                        const bool usable =
                            on_sums.count(x0 + dx, y0 + dy, side) >= least_count && other > flat;
                        surface.at(dx + radius, dy + radius) =
                            usable ? static_cast<double>(
                                         products[static_cast<std::size_t>(dx + radius)]) /
                                         std::sqrt(scatter * other)
                                   : 0;
                    }
                }
                CorrelationSurface::Peak peak;
                if (surface.judge(peak) != PeakVerdict::clear) continue;
                const auto at = [&](int dx, int dy) {
                    return surface.at(peak.column + dx, peak.row + dy);
                };
                const Point before = pair.field.at(
                    {static_cast<double>(c) * grid.step, static_cast<double>(r) * grid.step});
                result.vectors.u(c, r) = before.x + peak.column - radius +
                                         subpixel_peak(at(-1, 0), peak.height, at(1, 0));
                result.vectors.v(c, r) =
                    before.y + peak.row - radius + subpixel_peak(at(0, -1), peak.height, at(0, 1));
                result.vectors.found(c, r) = 1;
                result.correlation(c, r) = static_cast<float>(peak.height);
            }
    });
    return result;
}

}  // namespace vyn
