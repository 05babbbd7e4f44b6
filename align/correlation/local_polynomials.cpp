#include "align/correlation/local_polynomials.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>

#include <Eigen/Cholesky>

#include "align/correlation/correlation_kernel_choice.h"
#include "api/parallel.h"

namespace vyn {

namespace {

constexpr double reach_in_widths = 3;
/// Information that every coefficient but the constants has beforehand: it is within some thirty
/// pixels, per band width. It decides only where the equations do not.
constexpr double ridge = 1e-3;
constexpr int lane_multiple = 8;
constexpr int lattice_rows_per_block = 2;
constexpr int node_rows_per_block = 8;

/// Places (column0 + i spacing, row0 + j spacing).
struct Lattice {
    int column0;
    int row0;
    int spacing;
    int columns;
    int rows;
};

int rounded_up(int n) {
    return (n + lane_multiple - 1) / lane_multiple * lane_multiple;
}

/// Gaussian weight times powers of the offset, by power and tap.
std::vector<double> tap_factors(double width, int reach, int powers) {
    const int taps = 2 * reach + 1;
    std::vector<double> factors(static_cast<std::size_t>(taps) * static_cast<std::size_t>(powers));
    for (int i = 0; i < taps; ++i) {
        const double t = (i - reach) / width;
        double factor = std::exp(-0.5 * t * t);
        for (int k = 0; k < powers; ++k, factor *= t)
            factors[static_cast<std::size_t>(k * taps + i)] = factor;
    }
    return factors;
}

/// The weighted normal equations of the polynomials at a lattice: moments first along the rows of
/// nodes, for all of them, then down the columns, row by row of the lattice.
class LatticeFit {
  public:
    LatticeFit(const FieldEquations& equations, LocalPolynomials::Shape shape,
               const Lattice& lattice, Progress& progress)
        : equations_(equations),
          shape_(shape),
          lattice_(lattice),
          reach_(static_cast<int>(std::ceil(reach_in_widths * shape.band_width))),
          stride_(rounded_up(lattice.columns)),
          factors_(tap_factors(shape.band_width, reach_, 2 * shape.degree + 1)),
          row_moments_(std::make_unique_for_overwrite<double[]>(
              static_cast<std::size_t>(equations.rows()) * row_size())) {
        parallel_rows(equations.rows(), node_rows_per_block, progress, [&](int r0, int r1) {
            std::vector<double> phases;
            for (int r = r0; r < r1; ++r)
                sum_row(r, phases);
        });
    }

    int stride() const { return stride_; }
    int quantities() const { return 2 * polynomial_terms(shape_.degree) + 3; }

    /// Results of one row of the lattice, as in RegressionPlaces.
    void solve_row(int row, std::vector<double>& moments, double* result) const {
        const int taps = 2 * reach_ + 1;
        const int node_row = lattice_.row0 + row * lattice_.spacing;
        const int first = std::clamp(reach_ - node_row, 0, taps);
        const int end = std::clamp(equations_.rows() - node_row + reach_, first, taps);
        const int powers = 2 * shape_.degree + 1;
        std::vector<double> factors;
        for (int k = 0; k < powers; ++k)
            for (int i = first; i < end; ++i)
                factors.push_back(factors_[static_cast<std::size_t>(k * taps + i)]);
        std::vector<const double*> sources(static_cast<std::size_t>(end - first));

        const int left_moments = polynomial_terms(2 * shape_.degree);
        const int right_moments = polynomial_terms(shape_.degree);
        const auto stride = static_cast<std::size_t>(stride_);
        moments.resize(static_cast<std::size_t>(3 * left_moments + 2 * right_moments) * stride);
        double* out = moments.data();
        std::array<const double*, 5> starts{};
        std::size_t quantity = 0;
        for (std::size_t f = 0; f < 5; ++f) {
            starts[f] = out;
            const int power = f < 3 ? 2 * shape_.degree : shape_.degree;
            for (int k = 0; k <= power; ++k, ++quantity) {
                for (int i = first; i < end; ++i)
                    sources[static_cast<std::size_t>(i - first)] =
                        row_moments_.get() +
                        static_cast<std::size_t>(node_row + i - reach_) * row_size() +
                        quantity * stride;
                kernels_of_regression().sum_taps(sources.data(), factors.data(), end - first,
                                                 power - k + 1, stride_, out, stride_);
                out += (power - k + 1) * stride_;
            }
        }
        kernels_of_regression().solve({starts[0], starts[1], starts[2], starts[3], starts[4],
                                       stride_, lattice_.columns, ridge, result},
                                      shape_.degree);
    }

  private:
    std::size_t row_size() const {
        return static_cast<std::size_t>(3 * (2 * shape_.degree + 1) + 2 * (shape_.degree + 1)) *
               static_cast<std::size_t>(stride_);
    }

    /// Moments along one row of nodes about every column of the lattice. Nodes a spacing apart are
    /// brought together first, so that neighbouring places read neighbouring numbers.
    void sum_row(int row, std::vector<double>& phases) {
        const int q = lattice_.spacing;
        const int taps = 2 * reach_ + 1;
        const int length = stride_ + taps / q + 1;
        phases.resize(static_cast<std::size_t>(length * q));
        std::vector<const double*> sources(static_cast<std::size_t>(taps));
        for (int i = 0; i < taps; ++i)
            sources[static_cast<std::size_t>(i)] = phases.data() + i % q * length + i / q;
        const Bitmap<double>* const planes[] = {&equations_.xx, &equations_.xy, &equations_.yy,
                                                &equations_.x, &equations_.y};
        double* out = row_moments_.get() + static_cast<std::size_t>(row) * row_size();
        for (int f = 0; f < 5; ++f) {
            const double* const nodes = planes[f]->row(row);
            std::fill(phases.begin(), phases.end(), 0.0);
            for (int p = 0; p < q; ++p) {
                const int first = lattice_.column0 - reach_ + p;  // node at t = 0
                const int begin = first < 0 ? (q - 1 - first) / q : 0;
                const int end = std::min((equations_.columns() - first + q - 1) / q, length);
                double* const phase = phases.data() + p * length;
                for (int t = begin; t < end; ++t)
                    phase[t] = nodes[first + t * q];
            }
            const int powers = (f < 3 ? 2 * shape_.degree : shape_.degree) + 1;
            kernels_of_regression().sum_taps(sources.data(), factors_.data(), taps, powers, stride_,
                                             out, stride_);
            out += powers * stride_;
        }
    }

    const FieldEquations& equations_;
    const LocalPolynomials::Shape shape_;
    const Lattice lattice_;
    const int reach_;
    const int stride_;
    const std::vector<double> factors_;
    const std::unique_ptr<double[]> row_moments_;
};

std::vector<double> powers_of(double t, int degree) {
    std::vector<double> p(static_cast<std::size_t>(degree + 1), 1.0);
    for (std::size_t i = 1; i < p.size(); ++i)
        p[i] = p[i - 1] * t;
    return p;
}

/// How much larger the variance of the constant is than its share of the inverse normal matrix
/// says, because the Gaussian weights are no variances: on a full lattice of equal equations.
double noise_gain(const LocalPolynomials::Shape& shape) {
    const int reach = static_cast<int>(std::ceil(reach_in_widths * shape.band_width));
    const int terms = polynomial_terms(shape.degree);
    Eigen::MatrixXd normal = Eigen::MatrixXd::Zero(terms, terms);
    Eigen::MatrixXd squares = normal;
    Eigen::VectorXd basis(terms);
    for (int j = -reach; j <= reach; ++j)
        for (int i = -reach; i <= reach; ++i) {
            const double x = i / shape.band_width;
            const double y = j / shape.band_width;
            const double weight = std::exp(-0.5 * (x * x + y * y));
            const std::vector<double> px = powers_of(x, shape.degree);
            const std::vector<double> py = powers_of(y, shape.degree);
            for (int d = 0, t = 0; d <= shape.degree; ++d)
                for (int k = 0; k <= d; ++k, ++t)
                    basis[t] =
                        px[static_cast<std::size_t>(d - k)] * py[static_cast<std::size_t>(k)];
            normal += weight * basis * basis.transpose();
            squares += weight * weight * basis * basis.transpose();
        }
    normal.diagonal().tail(terms - 1).array() += 1e-9;
    const Eigen::VectorXd row = normal.ldlt().solve(Eigen::VectorXd::Unit(terms, 0));
    return row.dot(squares * row) / row[0];
}

/// A lattice whose places lie at most half a spacing outside the nodes.
Lattice covering(int columns, int rows, int spacing) {
    const auto count = [spacing](int nodes) { return nodes == 1 ? 1 : (nodes - 2) / spacing + 2; };
    const auto start = [spacing, count](int nodes) {
        return -((count(nodes) - 1) * spacing - (nodes - 1)) / 2;
    };
    return {start(columns), start(rows), spacing, count(columns), count(rows)};
}

}  // namespace

/// Places that are blended at a node, with their weights.
struct LocalPolynomials::Corners {
    struct Corner {
        int column;
        int row;
        double x;  ///< of the node about the place, in band widths
        double y;
        double weight;
    };
    std::array<Corner, 4> corner;
    int count = 0;
    double weight = 0;
};

LocalPolynomials::LocalPolynomials(const FieldEquations& equations, Shape shape, Progress& progress)
    : shape_(shape),
      spacing_(std::max(static_cast<int>(shape.band_width / 2), 1)),
      u_(equations.columns(), equations.rows()),
      v_(equations.columns(), equations.rows()),
      variance_u_(equations.columns(), equations.rows()),
      variance_v_(equations.columns(), equations.rows()),
      known_(equations.columns(), equations.rows()) {
    const Lattice lattice = covering(equations.columns(), equations.rows(), spacing_);
    first_column_ = lattice.column0;
    first_row_ = lattice.row0;
    lattice_columns_ = lattice.columns;
    lattice_rows_ = lattice.rows;
    SubProgress along(progress, 0, 0.3);
    SubProgress down(progress, 0.3, 1);
    const LatticeFit fit(equations, shape, lattice, along);
    quantities_ = fit.quantities();
    results_.resize(offset(0, lattice.rows));
    const auto size =
        static_cast<std::size_t>(quantities_) * static_cast<std::size_t>(fit.stride());
    parallel_rows(lattice.rows, lattice_rows_per_block, down, [&](int r0, int r1) {
        std::vector<double> moments;
        std::vector<double> row(size);
        for (int r = r0; r < r1; ++r) {
            fit.solve_row(r, moments, row.data());
            for (int c = 0; c < lattice.columns; ++c)
                for (int q = 0; q < quantities_; ++q)
                    results_[offset(c, r) + static_cast<std::size_t>(q)] =
                        static_cast<float>(row[static_cast<std::size_t>(q * fit.stride() + c)]);
        }
    });
    const double gain = noise_gain(shape);
    parallel_rows(equations.rows(), node_rows_per_block, down, [&](int r0, int r1) {
        for (int r = r0; r < r1; ++r)
            for (int c = 0; c < equations.columns(); ++c)
                evaluate_node(c, r, gain);
    });
}

LocalPolynomials::Corners LocalPolynomials::corners(int column, int row) const {
    Corners found;
    const int variance = 2 * polynomial_terms(shape_.degree);
    const int dx = column - first_column_;
    const int dy = row - first_row_;
    for (int j = dy / spacing_; j * spacing_ < dy + spacing_ && j < lattice_rows_; ++j)
        for (int i = dx / spacing_; i * spacing_ < dx + spacing_ && i < lattice_columns_; ++i) {
            if (!(result_of(i, j)[variance] > 0)) continue;
            const double x = dx - i * spacing_;
            const double y = dy - j * spacing_;
            const double weight = (1 - std::abs(x) / spacing_) * (1 - std::abs(y) / spacing_);
            found.corner[static_cast<std::size_t>(found.count++)] = {i, j, x / shape_.band_width,
                                                                     y / shape_.band_width, weight};
            found.weight += weight;
        }
    return found;
}

Point LocalPolynomials::term_sum(int place_column, int place_row, double x, double y) const {
    const int terms = polynomial_terms(shape_.degree);
    const float* const u = result_of(place_column, place_row);
    const float* const v = u + terms;
    Point sum{static_cast<double>(u[0]), static_cast<double>(v[0])};
    if (x == 0 && y == 0) return sum;
    std::array<double, max_polynomial_degree + 1> px{1};
    std::array<double, max_polynomial_degree + 1> py{1};
    for (std::size_t k = 1; k < px.size(); ++k) {
        px[k] = px[k - 1] * x;
        py[k] = py[k - 1] * y;
    }
    for (int d = 1, t = 1; d <= shape_.degree; ++d)
        for (int k = 0; k <= d; ++k, ++t) {
            const double basis =
                px[static_cast<std::size_t>(d - k)] * py[static_cast<std::size_t>(k)];
            sum.x += basis * static_cast<double>(u[t]);
            sum.y += basis * static_cast<double>(v[t]);
        }
    return sum;
}

void LocalPolynomials::evaluate_node(int column, int row, double noise_gain) {
    const Corners near = corners(column, row);
    const int first_variance = 2 * polynomial_terms(shape_.degree);
    Point sum;
    Variance variance{0, 0};
    for (int i = 0; i < near.count; ++i) {
        const Corners::Corner& c = near.corner[static_cast<std::size_t>(i)];
        const double weight = c.weight / near.weight;
        const Point part = term_sum(c.column, c.row, c.x, c.y);
        sum.x += weight * part.x;
        sum.y += weight * part.y;
        variance.u += weight * static_cast<double>(result_of(c.column, c.row)[first_variance]);
        variance.v += weight * static_cast<double>(result_of(c.column, c.row)[first_variance + 2]);
    }
    known_(column, row) = near.weight > 0;
    u_(column, row) = sum.x;
    v_(column, row) = sum.y;
    variance_u_(column, row) = static_cast<float>(noise_gain * variance.u);
    variance_v_(column, row) = static_cast<float>(noise_gain * variance.v);
}

Point LocalPolynomials::change(int column, int row, Point offset, Extent extent) const {
    const Corners near = corners(column, row);
    const auto nearest =
        std::max_element(near.corner.begin(), near.corner.begin() + near.count,
                         [](const auto& a, const auto& b) { return a.weight < b.weight; });
    if (near.count == 0) return {};
    // differences of a polynomial give its derivatives up to the fourth order's own share
    const double h = 0.25;
    const double dx = offset.x / shape_.band_width;
    const double dy = offset.y / shape_.band_width;
    const Point middle = term_sum(nearest->column, nearest->row, nearest->x, nearest->y);
    const Point ahead =
        term_sum(nearest->column, nearest->row, nearest->x + h * dx, nearest->y + h * dy);
    const Point behind =
        term_sum(nearest->column, nearest->row, nearest->x - h * dx, nearest->y - h * dy);
    const auto along = [&](double m, double a, double b) {
        const double slope = (a - b) / (2 * h);
        const double bend = (a - 2 * m + b) / (h * h);
        return slope + (extent == Extent::quadratic ? bend / 2 : 0);
    };
    return {along(middle.x, ahead.x, behind.x), along(middle.y, ahead.y, behind.y)};
}

namespace {

/// Residual and leverage of one equation that the polynomials were fitted to.
struct Check {
    double residual = 0;
    double leverage = 0;
};

/// False for equations that do not determine both components on their own.
bool check_of(const FieldEquations& e, int c, int r, const double* result, int stride,
              Check& check) {
    constexpr double least_ratio = 0.02;  ///< of the determinant to that of equal components
    const double xx = e.xx(c, r);
    const double xy = e.xy(c, r);
    const double yy = e.yy(c, r);
    const double determinant = xx * yy - xy * xy;
    const double mean = (xx + yy) / 2;
    if (!(xx > 0 && yy > 0 && determinant > least_ratio * mean * mean)) return false;
    const int terms = polynomial_terms(4);
    const double uu = result[2 * terms * stride];
    const double uv = result[(2 * terms + 1) * stride];
    const double vv = result[(2 * terms + 2) * stride];
    if (!(uu > 0 && vv > 0)) return false;
    const double u = result[0];
    const double v = result[terms * stride];
    const double left_x = e.x(c, r) - xx * u - xy * v;
    const double left_y = e.y(c, r) - xy * u - yy * v;
    check.residual =
        (left_x * left_x * yy - 2 * left_x * left_y * xy + left_y * left_y * xx) / determinant;
    check.leverage = uu * xx + 2 * uv * xy + vv * yy;
    return true;
}

/// RSS / N / (1 - tr / N)^2 without the largest residuals, some of which are faults rather than
/// noise. Those of two normal components are left with a known share of their mean.
double score_of(std::vector<Check>& checks) {
    constexpr double kept = 0.9;
    const double mean_kept = 1 + (1 - kept) * std::log(1 - kept) / kept;
    if (checks.empty()) return std::numeric_limits<double>::infinity();
    std::sort(checks.begin(), checks.end(),
              [](const Check& a, const Check& b) { return a.residual < b.residual; });
    const auto count = std::max<std::size_t>(
        static_cast<std::size_t>(kept * static_cast<double>(checks.size())), 1);
    double squares = 0;
    double trace = 0;
    for (std::size_t i = 0; i < count; ++i) {
        squares += checks[i].residual;
        trace += checks[i].leverage;
    }
    const double n = 2 * static_cast<double>(count);
    const double freedom = 1 - trace / n;
    return freedom > 0 ? squares / n / mean_kept / (freedom * freedom)
                       : std::numeric_limits<double>::infinity();
}

}  // namespace

BandWidth best_band_width(const FieldEquations& equations, Progress& progress) {
    constexpr double widths[] = {0.6, 0.8, 1.0, 1.3, 1.7, 2.2, 2.9, 3.8,
                                 5.0, 6.5, 8.5, 11,  14,  20,  28,  40};
    constexpr double wide = 20;  // beyond, only where that is the best so far: they cost most
    constexpr int most_spacing = 6;
    constexpr double enough = 1800;  // sampled nodes
    const double nodes = static_cast<double>(equations.columns()) * equations.rows();
    const int spacing = std::clamp(static_cast<int>(std::sqrt(nodes / enough)), 1, most_spacing);
    const int start = spacing / 2;
    const auto count = [&](int n) { return (n - 1 - std::min(start, n - 1)) / spacing + 1; };
    const Lattice lattice{std::min(start, equations.columns() - 1),
                          std::min(start, equations.rows() - 1), spacing,
                          count(equations.columns()), count(equations.rows())};
    BandWidth best{widths[0], std::numeric_limits<double>::infinity()};
    double done = 0;
    for (const double width : widths) {
        if (width > wide && best.width < wide) break;
        SubProgress part(progress, done, done + 1.0 / std::size(widths));
        done += 1.0 / std::size(widths);
        const LatticeFit fit(equations, {4, width}, lattice, part);
        std::vector<std::vector<Check>> rows(static_cast<std::size_t>(lattice.rows));
        parallel_rows(lattice.rows, 1, part, [&](int row, int) {
            std::vector<double> moments;
            std::vector<double> result(static_cast<std::size_t>(fit.quantities() * fit.stride()));
            fit.solve_row(row, moments, result.data());
            for (int i = 0; i < lattice.columns; ++i) {
                Check check;
                if (check_of(equations, lattice.column0 + i * spacing, lattice.row0 + row * spacing,
                             result.data() + i, fit.stride(), check))
                    rows[static_cast<std::size_t>(row)].push_back(check);
            }
        });
        std::vector<Check> checks;
        for (const std::vector<Check>& row : rows)
            checks.insert(checks.end(), row.begin(), row.end());
        const double score = score_of(checks);
        if (score < best.score) best = {width, score};
    }
    return best;
}

}  // namespace vyn
