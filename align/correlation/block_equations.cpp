#include "align/correlation/block_equations.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "align/correlation/correlation_kernel_choice.h"
#include "align/correlation/local_sums.h"
#include "api/parallel.h"
#include "api/prepared_rows.h"

namespace vyn {

namespace {

constexpr int difference_reach = 2;  ///< of the derivatives
/// Of what a pixel that counts reads in full: its derivatives, and most of the low-pass.
constexpr int used_reach = difference_reach + 1;
constexpr int node_rows_per_block = 4;
constexpr double least_cell_share = 0.35;  ///< of a cell that is used; masks have lost a rim
constexpr double least_block_share = 0.25;
constexpr double least_correlation = 0.4;
constexpr double most_correlation_asked = 0.75;
constexpr double correlation_significance = 2.5;  ///< standard deviations of that of noise
constexpr double least_common_power = 0.4;        ///< share of the gradients', in a block
constexpr double least_noise_share = 0.01;        ///< of the texture's variance

using Sums = std::array<double, block_sum::number>;

/// Sums of the blocks of some rows of nodes.
class BlockSums {
  public:
    BlockSums(int columns, int rows)
        : columns_(columns),
          rows_(rows),
          sums_(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) *
                block_sum::number) {}
    int columns() const { return columns_; }
    int rows() const { return rows_; }
    float* at(int column, int row) { return sums_.data() + offset(column, row); }
    const float* at(int column, int row) const { return sums_.data() + offset(column, row); }

  private:
    std::size_t offset(int column, int row) const {
        return (static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                static_cast<std::size_t>(column)) *
               block_sum::number;
    }
    int columns_;
    int rows_;
    std::vector<float> sums_;
};

struct Gauss {
    explicit Gauss(double width) : reach(static_cast<int>(std::ceil(3.2 * width))) {
        double total = 0;
        for (int k = -reach; k <= reach; ++k)
            total += std::exp(-0.5 * k * k / (width * width));
        for (int k = -reach; k <= reach; ++k)
            factors.push_back(static_cast<float>(std::exp(-0.5 * k * k / (width * width)) / total));
    }
    int reach;
    std::vector<float> factors;
};

/// Share of each block from -reach to reach steps off that the cell covers, in one direction.
std::vector<double> cell_shares(const NodeGrid& grid) {
    const int half_cell = grid.cell / 2;
    const int half_step = grid.step / 2;
    const int reach = (half_cell + half_step) / grid.step;
    std::vector<double> shares;
    for (int o = -reach; o <= reach; ++o) {
        const int first = std::max(-half_cell, o * grid.step - half_step);
        const int end = std::min(grid.cell - half_cell, (o + 1) * grid.step - half_step);
        shares.push_back(static_cast<double>(std::max(end - first, 0)) / grid.step);
    }
    return shares;
}

struct Pair {
    double x;
    double y;
};
struct Matrix {
    double xx, xy, yy;
    double determinant() const { return xx * yy - xy * xy; }
    bool is_positive() const { return xx > 0 && yy > 0 && determinant() > 0; }
};

/// How the contrasts of a cell compare: a - a_mean = gain (b - b_mean) but for noise.
class CellContrast {
  public:
    explicit CellContrast(const Sums& cell) {
        n_ = cell[block_sum::count];
        a_mean_ = cell[block_sum::a] / n_;
        b_mean_ = cell[block_sum::b] / n_;
        a_variance_ = cell[block_sum::aa] / n_ - a_mean_ * a_mean_;
        b_variance_ = cell[block_sum::bb] / n_ - b_mean_ * b_mean_;
        covariance_ = cell[block_sum::ab] / n_ - a_mean_ * b_mean_;
        if (has_texture()) gain_ = std::sqrt(a_variance_ / b_variance_);
    }
    /// False for cells that are flat but for the rounding of the sums.
    bool has_texture() const { return a_variance_ > flat && b_variance_ > flat; }
    double correlation() const { return covariance_ / std::sqrt(a_variance_ * b_variance_); }

    Matrix matrix(const Sums& s) const {
        return {gain_ * s[block_sum::ax_bx], 0.5 * gain_ * s[block_sum::ax_by_ay_bx],
                gain_ * s[block_sum::ay_by]};
    }
    /// Sum of the mean gradient times the difference of the contrasts.
    Pair right_side(const Sums& s) const {
        const auto part = [&](int slope, int slope_a, int slope_b) {
            return s[static_cast<std::size_t>(slope_a)] -
                   a_mean_ * s[static_cast<std::size_t>(slope)] -
                   gain_ * (s[static_cast<std::size_t>(slope_b)] -
                            b_mean_ * s[static_cast<std::size_t>(slope)]);
        };
        using namespace block_sum;
        return {0.5 * (part(ax, ax_a, ax_b) + gain_ * part(bx, bx_a, bx_b)),
                0.5 * (part(ay, ay_a, ay_b) + gain_ * part(by, by_a, by_b))};
    }
    /// Share of the power of the gradients that both pictures have in common: 1 without noise, 0
    /// where there is nothing else.
    double common_power(const Sums& s) const {
        return 2 * gain_ * (s[block_sum::ax_bx] + s[block_sum::ay_by]) /
               (s[block_sum::a_power] + gain_ * gain_ * s[block_sum::b_power]);
    }
    /// Of the difference that is left after the cell's own step.
    double variance_left(const Sums& cell) const {
        double left = 2 * (a_variance_ - gain_ * covariance_);
        const Matrix h = matrix(cell);
        if (h.is_positive()) {
            const Pair r = right_side(cell);
            left -=
                (r.x * r.x * h.yy - 2 * r.x * r.y * h.xy + r.y * r.y * h.xx) / h.determinant() / n_;
        }
        return std::max(left, least_noise_share * a_variance_);
    }

  private:
    static constexpr double flat = 1e-12;
    double n_;
    double a_mean_;
    double b_mean_;
    double a_variance_;
    double b_variance_;
    double covariance_;
    double gain_ = 1;
};

/// Correlation that a cell must reach not to be noise: low-passed noise has one independent value
/// in 4 pi (width^2) pixels.
double correlation_asked(double pixels, double low_pass) {
    const double independent = pixels / (4 * M_PI * (low_pass * low_pass + 0.3));
    return std::clamp(correlation_significance / std::sqrt(independent), least_correlation,
                      most_correlation_asked);
}

/// Takes away equations with fewer than three neighbours, twice over: noise that happened to agree.
void drop_stragglers(BlockEquations& blocks) {
    constexpr int passes = 2;
    constexpr int least_neighbours = 3;
    FieldEquations& e = blocks.equations;
    const auto has = [](const Bitmap<double>& xx, int c, int r) {
        return xx.contains(c, r) && xx(c, r) != 0;
    };
    for (int pass = 0; pass < passes; ++pass) {
        const Bitmap<double> before = e.xx;
        for (int r = 0; r < e.rows(); ++r)
            for (int c = 0; c < e.columns(); ++c) {
                int neighbours = 0;
                for (int j = -1; j <= 1; ++j)
                    for (int i = -1; i <= 1; ++i)
                        neighbours += (i != 0 || j != 0) && has(before, c + i, r + j);
                if (neighbours >= least_neighbours) continue;
                e.xx(c, r) = e.xy(c, r) = e.yy(c, r) = e.x(c, r) = e.y(c, r) = 0;
                if (blocks.state(c, r) == CellState::measured)
                    blocks.state(c, r) = CellState::no_texture;
            }
    }
}

}  // namespace

struct PairComparison::Parts {
    Parts(const AlignedPair& both, const NodeGrid& node_grid, Progress& progress)
        : pair(both),
          grid(node_grid),
          joint(joint_bytes(progress)),
          used(used_bytes(progress)),
          off_local(pair.off.values, joint, tile(), progress),
          on_local(pair.on.values, joint, tile(), progress) {}

    /// The local mean reaches as far as a Gaussian of half a cell.
    int tile() const { return std::max(grid.cell / 4, 1); }

    Bitmap<std::uint8_t> joint_bytes(Progress& progress) const {
        Bitmap<std::uint8_t> both(grid.width, grid.height);
        parallel_rows(grid.height, 64, progress, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y) {
                const std::uint8_t* const rows[] = {pair.off.valid.row(y), pair.on.valid.row(y)};
                kernels_of_correlation().and_rows(rows, 2, grid.width, both.row(y));
            }
        });
        return both;
    }

    Bitmap<std::uint8_t> used_bytes(Progress& progress) const {
        Bitmap<std::uint8_t> bytes = eroded(joint, used_reach, progress);
        for (int y = 0; y < grid.height; ++y) {
            const bool inner = y >= used_reach && y < grid.height - used_reach;
            const int rim = std::min(inner ? used_reach : grid.width, grid.width);
            std::fill_n(bytes.row(y), rim, std::uint8_t{0});
            std::fill_n(bytes.row(y) + grid.width - rim, rim, std::uint8_t{0});
        }
        return bytes;
    }

    /// Low-passed contrast of one picture on the rows y0 .. y1 - 1, which may lie outside it.
    void low_passed_rows(const Bitmap<float>& values, const LocalSums& local, const Gauss& gauss,
                         int y0, int y1, const PaddedRows& out) const {
        const CorrelationKernels& kernels = kernels_of_correlation();
        const FilterKernels& sums = active_kernels_of_filters();
        const int w = grid.width;
        const int w64 = (w + 63) / 64 * 64;
        const int taps = 2 * gauss.reach + 1;
        const PaddedRows ring(taps, w, gauss.reach);
        const PaddedRows line(1, w, gauss.reach);
        const auto prepare = [&](int y) {
            float* const row = ring.row((y - y0 + gauss.reach) % taps);
            if (y < 0 || y >= grid.height) {
                std::fill_n(row, w64, 0.0F);
                return;
            }
            kernels.contrast(values.row(y), joint.row(y), local.rows(y), w, row);
            std::fill(row + w, row + w64, 0.0F);
        };
        for (int y = y0 - gauss.reach; y < y0 + gauss.reach; ++y)
            prepare(y);
        std::vector<const float*> rows(static_cast<std::size_t>(taps));
        for (int y = y0; y < y1; ++y) {
            prepare(y + gauss.reach);
            for (int k = 0; k < taps; ++k)
                rows[static_cast<std::size_t>(k)] = ring.row((y - y0 + k) % taps);
            sums.sum_rows(rows.data(), gauss.factors.data(), taps, 0, w64, line.row(0));
            std::fill(line.row(0) + w, line.row(0) + w64, 0.0F);
            sums.sum_columns(line.row(0) - gauss.reach, gauss.factors.data(), taps, w64,
                             out.row(y - y0));
        }
    }

    /// Sums of the blocks of the nodes in rows r0 .. r1 - 1 of the grid, from row `to` of `out` on.
    void sum_blocks(const Gauss& gauss, int r0, int r1, BlockSums& out, int to) const {
        const CorrelationKernels& kernels = kernels_of_correlation();
        const int half = grid.step / 2;
        const int y0 = r0 * grid.step - half - difference_reach;
        const int y1 = r1 * grid.step - half + difference_reach;
        const PaddedRows a(y1 - y0, grid.width, 16);
        const PaddedRows b(y1 - y0, grid.width, 16);
        low_passed_rows(pair.off.values, off_local, gauss, y0, y1, a);
        low_passed_rows(pair.on.values, on_local, gauss, y0, y1, b);
        std::vector<const float*> a_rows;
        std::vector<const float*> b_rows;
        for (int y = y0; y < y1; ++y) {
            a_rows.push_back(a.row(y - y0));
            b_rows.push_back(b.row(y - y0));
        }
        std::vector<const std::uint8_t*> used_rows;
        const int stride = (grid.width + 15) / 16 * 16;
        std::vector<float> columns(static_cast<std::size_t>(stride) * block_sum::number);
        for (int r = r0; r < r1; ++r) {
            const int first = std::max(r * grid.step - half, 0);
            const int end = std::min((r + 1) * grid.step - half, grid.height);
            used_rows.clear();
            for (int y = first; y < end; ++y)
                used_rows.push_back(used.row(y));
            kernels.add_block(a_rows.data() + (first - y0), b_rows.data() + (first - y0),
                              used_rows.data(), end - first, grid.width, columns.data(), stride);
            for (int c = 0; c < grid.columns(); ++c) {
                float* const sums = out.at(c, to + r - r0);
                const int left = std::max(c * grid.step - half, 0);
                const int right = std::min((c + 1) * grid.step - half, grid.width);
                for (int q = 0; q < block_sum::number; ++q) {
                    const float* const column = columns.data() + q * stride;
                    float sum = 0;
                    for (int x = left; x < right; ++x)
                        sum += column[x];
                    sums[q] = sum;
                }
            }
        }
    }

    const AlignedPair pair;
    const NodeGrid grid;
    const Bitmap<std::uint8_t> joint;  ///< both pictures have the pixel
    const Bitmap<std::uint8_t> used;   ///< and all that its derivatives read
    const LocalSums off_local;
    const LocalSums on_local;
};

PairComparison::PairComparison(const AlignedPair& pair, const NodeGrid& grid, Progress& progress)
    : parts_(std::make_unique<const Parts>(pair, grid, progress)) {}

PairComparison::~PairComparison() = default;

BlockEquations PairComparison::equations(double low_pass, Progress& progress) const {
    const NodeGrid& grid = parts_->grid;
    const int columns = grid.columns();
    const int rows = grid.rows();
    BlockSums blocks(columns, rows);
    const Gauss gauss(low_pass);
    parallel_rows(rows, node_rows_per_block, progress,
                  [&](int r0, int r1) { parts_->sum_blocks(gauss, r0, r1, blocks, r0); });

    BlockEquations result{FieldEquations(columns, rows), Bitmap<CellState>(columns, rows)};
    const std::vector<double> shares = cell_shares(grid);
    const int reach = static_cast<int>(shares.size()) / 2;
    const double cell_pixels = static_cast<double>(grid.cell) * grid.cell;
    const double block_pixels = static_cast<double>(grid.step) * grid.step;
    const auto cell_sums = [&](int c, int r) {
        Sums cell{};
        for (int j = -reach; j <= reach; ++j)
            for (int i = -reach; i <= reach; ++i) {
                if (c + i < 0 || c + i >= columns || r + j < 0 || r + j >= rows) continue;
                const double share = *(shares.begin() + reach + i) * *(shares.begin() + reach + j);
                const float* const block = blocks.at(c + i, r + j);
                for (std::size_t q = 0; q < cell.size(); ++q)
                    cell[q] += share * static_cast<double>(block[q]);
            }
        return cell;
    };
    const auto take = [&](int c, int r) {
        const Sums cell = cell_sums(c, r);
        const double pixels = cell[block_sum::count];
        if (pixels < least_cell_share * cell_pixels) return CellState::outside;
        const CellContrast contrast(cell);
        if (!contrast.has_texture() || contrast.correlation() < correlation_asked(pixels, low_pass))
            return CellState::no_texture;
        const float* const from = blocks.at(c, r);
        Sums block;
        std::copy_n(from, block.size(), block.begin());
        if (block[block_sum::count] >= least_block_share * block_pixels &&
            contrast.common_power(block) >= least_common_power) {
            const double information = 1 / contrast.variance_left(cell);
            const Matrix h = contrast.matrix(block);
            const Pair right = contrast.right_side(block);
            const Point d = parts_->pair.field.at(
                {static_cast<double>(c) * grid.step, static_cast<double>(r) * grid.step});
            FieldEquations& e = result.equations;
            e.xx(c, r) = h.xx * information;
            e.xy(c, r) = h.xy * information;
            e.yy(c, r) = h.yy * information;
            e.x(c, r) = (right.x + h.xx * d.x + h.xy * d.y) * information;
            e.y(c, r) = (right.y + h.xy * d.x + h.yy * d.y) * information;
        }
        return CellState::measured;
    };
    parallel_rows(rows, node_rows_per_block, progress, [&](int r0, int r1) {
        for (int r = r0; r < r1; ++r)
            for (int c = 0; c < columns; ++c)
                result.state(c, r) = take(c, r);
    });
    drop_stragglers(result);
    return result;
}

TexturePowers PairComparison::powers(double low_pass, Progress& progress) const {
    constexpr int rows_per_sample = 2;
    constexpr int least_samples = 8;
    constexpr int sampled_share = 8;
    constexpr double alike = 0.3;
    const int rows = parts_->grid.rows();
    const int most_samples = std::max(rows / rows_per_sample, 1);
    const int samples = std::clamp(rows / (rows_per_sample * sampled_share),
                                   std::min(least_samples, most_samples), most_samples);
    std::vector<TexturePowers> parts(static_cast<std::size_t>(std::max(samples, 1)));
    const Gauss gauss(low_pass);
    parallel_rows(static_cast<int>(parts.size()), 1, progress, [&](int i, int) {
        const int r0 = static_cast<int>((std::int64_t{2} * i + 1) * rows /
                                        (2 * static_cast<std::int64_t>(parts.size())));
        const int first = std::max(std::min(r0, rows - rows_per_sample), 0);
        const int end = std::min(first + rows_per_sample, rows);
        BlockSums sums(parts_->grid.columns(), end - first);
        parts_->sum_blocks(gauss, first, end, sums, 0);
        TexturePowers& part = parts[static_cast<std::size_t>(i)];
        for (int r = 0; r < sums.rows(); ++r)
            for (int c = 0; c < sums.columns(); ++c) {
                const float* const s = sums.at(c, r);
                const auto value = [&](int q) { return static_cast<double>(s[q]); };
                if (!(value(block_sum::ab) >
                      alike * std::sqrt(value(block_sum::aa) * value(block_sum::bb))))
                    continue;
                part.own += 0.5 * (value(block_sum::a_power) + value(block_sum::b_power));
                part.crossed += value(block_sum::ax_bx) + value(block_sum::ay_by);
            }
    });
    TexturePowers whole;
    for (const TexturePowers& part : parts) {
        whole.own += part.own;
        whole.crossed += part.crossed;
    }
    return whole;
}

double best_low_pass(const PairComparison& pair, Progress& progress) {
    constexpr double narrowest = 0.7;
    constexpr int widths = 5;
    double best = narrowest;
    double least = std::numeric_limits<double>::infinity();
    TexturePowers powers = pair.powers(narrowest, progress);
    for (int k = 0; k < widths; ++k) {
        // twice the same Gaussian is one that is the root of 2 wider: the next of the series
        const double width = narrowest * std::pow(2, 0.5 * k);
        const TexturePowers next = pair.powers(width * std::sqrt(2), progress);
        const double variance = next.own / (powers.crossed * powers.crossed);
        if (powers.crossed > 0 && variance < least) {
            least = variance;
            best = width;
        }
        powers = next;
    }
    return best;
}

}  // namespace vyn
