#include "calib/in_situ_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>

#include "core/errors.h"

namespace vyn {

namespace {

using Vector = gauss_approximation::Vector;
using Matrix = gauss_approximation::Matrix;

/// Leverages this near to 1 leave nothing but rounding of the other ports' say.
constexpr double least_freedom = 1e-9;

std::optional<Vector> eliminate(Matrix a, Vector b, std::size_t n) {
    for (std::size_t pivot = 0; pivot < n; ++pivot) {
        if (a[pivot][pivot] == 0.0) return std::nullopt;
        for (std::size_t row = pivot + 1; row < n; ++row) {
            const double factor = a[row][pivot] / a[pivot][pivot];
            for (std::size_t k = pivot; k < n; ++k)
                a[row][k] -= factor * a[pivot][k];
            b[row] -= factor * b[pivot];
        }
    }
    Vector solution{};
    for (std::size_t row = n; row-- > 0;) {
        double sum = b[row];
        for (std::size_t k = row + 1; k < n; ++k)
            sum -= a[row][k] * solution[k];
        solution[row] = sum / a[row][row];
    }
    const bool finite = std::ranges::all_of(solution, [](double c) { return std::isfinite(c); });
    return finite ? std::optional(solution) : std::nullopt;
}

double value_at(const Vector& coefficients, std::size_t n, double x) {
    double value = 0;
    for (std::size_t k = 0; k < n; ++k)
        value += gauss_approximation::phi(k, x) * coefficients[k];
    return value;
}

/// The matrix between the basis at a ratio: with the inverse normal matrix the influence of a
/// point's own pressure on the law there, with the covariance the variance of the law.
double leverage(const Matrix& inverse, std::size_t n, double x) {
    double h = 0;
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t k = 0; k < n; ++k)
            h += gauss_approximation::phi(j, x) * inverse[j][k] * gauss_approximation::phi(k, x);
    return h;
}

/// Sums of equal ratios round, so that their last pivot need not come out as exactly 0.
bool determined(const std::vector<CalibrationPoint>& points, std::size_t terms) {
    std::set<double> ratios;
    for (const CalibrationPoint& point : points) {
        if (!std::isfinite(point.ratio) || !std::isfinite(point.pressure)) return false;
        ratios.insert(point.ratio);
    }
    return ratios.size() >= terms;
}

/// Fills residuals, worst point and deviation; gives the sum of squared errors.
double measure_errors(const std::vector<CalibrationPoint>& points, std::size_t n, InSituFit& fit) {
    double sum = 0;
    double largest = -1e10;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double error = value_at(fit.coefficients, n, points[i].ratio) - points[i].pressure;
        fit.residuals.push_back(error);
        sum += error * error;
        if (std::abs(error) > largest) {
            largest = std::abs(error);
            fit.worst = i;
        }
    }
    const bool divided = points.size() > n + 1;
    fit.deviation = std::sqrt(divided ? sum / static_cast<double>(points.size() - n - 1) : sum);
    return sum;
}

void estimate_trust(const std::vector<CalibrationPoint>& points, std::size_t n,
                    const Matrix& inverse, double squared_errors, InSituFit& fit) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double freedom = 1 - leverage(inverse, n, points[i].ratio);
        fit.leave_one_out.push_back(freedom > least_freedom
                                        ? fit.residuals[i] / freedom
                                        : std::numeric_limits<double>::quiet_NaN());
    }
    if (points.size() <= n) return;
    const double variance = squared_errors / static_cast<double>(points.size() - n);
    fit.covariance = inverse;
    for (Vector& row : *fit.covariance)
        for (double& entry : row)
            entry *= variance;
}

}  // namespace

gauss_approximation::gauss_approximation(int terms) : terms_(static_cast<std::size_t>(terms)) {
    if (terms < 1 || terms > most_terms)
        throw AlgoError("Algorithm error!", "a law of " + std::to_string(terms) +
                                                " terms cannot be fitted; it takes 1 to 3");
}

double gauss_approximation::phi(std::size_t k, double x) {
    double power = 1;
    for (std::size_t i = 0; i < k; ++i)
        power *= x;
    return power;
}

void gauss_approximation::add(double x, double p) {
    for (std::size_t j = 0; j < terms_; ++j) {
        for (std::size_t k = 0; k < terms_; ++k)
            matrix_[j][k] += phi(j, x) * phi(k, x);
        vector_[j] += phi(j, x) * p;
    }
}

std::optional<Vector> gauss_approximation::solve() const {
    return eliminate(matrix_, vector_, terms_);
}

std::optional<Matrix> gauss_approximation::inverse() const {
    Matrix inverse{};
    for (std::size_t column = 0; column < terms_; ++column) {
        Vector unit{};
        unit[column] = 1;
        const auto solution = eliminate(matrix_, unit, terms_);
        if (!solution) return std::nullopt;
        for (std::size_t row = 0; row < terms_; ++row)
            inverse[row][column] = (*solution)[row];
    }
    return inverse;
}

double pressure_at(const Vector& coefficients, double ratio) {
    return value_at(coefficients, coefficients.size(), ratio);
}

std::optional<double> standard_error_at(const InSituFit& fit, double ratio) {
    if (!fit.covariance) return std::nullopt;
    return std::sqrt(leverage(*fit.covariance, static_cast<std::size_t>(fit.terms), ratio));
}

std::optional<FittedCurve> fitted_curve(const std::vector<CalibrationPoint>& points,
                                        const Vector& coefficients) {
    constexpr int steps = 100;
    if (points.empty()) return std::nullopt;
    const auto [low, high] = std::ranges::minmax(points, {}, &CalibrationPoint::ratio);
    const double range = high.ratio - low.ratio;
    if (!(range > 0)) return std::nullopt;
    FittedCurve curve;
    for (int step = 0; step <= steps; ++step) {
        const double ratio = low.ratio + range * step / steps;
        curve.ratios.push_back(ratio);
        curve.pressures.push_back(pressure_at(coefficients, ratio));
        if (!std::isfinite(curve.pressures.back())) return std::nullopt;
    }
    return curve;
}

std::optional<InSituFit> fit_in_situ(const std::vector<CalibrationPoint>& points, int terms) {
    gauss_approximation normal(terms);
    const auto n = static_cast<std::size_t>(terms);
    if (!determined(points, n)) return std::nullopt;
    for (const CalibrationPoint& point : points)
        normal.add(point.ratio, point.pressure);
    const auto coefficients = normal.solve();
    const auto inverse = normal.inverse();
    if (!coefficients || !inverse) return std::nullopt;

    InSituFit fit;
    fit.terms = terms;
    fit.coefficients = *coefficients;
    const double squared_errors = measure_errors(points, n, fit);
    estimate_trust(points, n, *inverse, squared_errors, fit);
    return fit;
}

}  // namespace vyn
