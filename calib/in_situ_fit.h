#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "calib/port_sampling.h"

namespace vyn {

/// Least-squares polynomial p = c[0] + c[1] x + ... of 1 to 3 terms, by the normal equations and
/// plain Gaussian elimination without exchange of rows; the matrix is symmetric and positive
/// definite, which makes that safe.
class gauss_approximation {
  public:
    static constexpr int most_terms = 3;
    /// Entries from the number of terms on are 0.
    using Vector = std::array<double, most_terms>;
    using Matrix = std::array<Vector, most_terms>;

    /// Raises AlgoError for any other number of terms.
    explicit gauss_approximation(int terms);

    int terms() const { return static_cast<int>(terms_); }
    /// The basis: x to the power k.
    static double phi(std::size_t k, double x);
    void add(double x, double p);

    /// The coefficients; nothing when a pivot is exactly 0 or the result is not finite.
    std::optional<Vector> solve() const;
    /// The inverse of the normal matrix, under the same conditions.
    std::optional<Matrix> inverse() const;

  private:
    std::size_t terms_;
    Matrix matrix_{};
    Vector vector_{};
};

/// The law fitted to the ports of a model, and how far it can be trusted. Pressures in the unit of
/// the ports.
struct InSituFit {
    int terms = 0;
    gauss_approximation::Vector coefficients{};  ///< of the powers of the ratio
    /// Square root of the sum of squared errors, which is first divided by N - terms - 1 when N,
    /// the number of ports, is greater than terms + 1.
    double deviation = 0;
    std::size_t worst = 0;          ///< index of the point with the largest absolute error
    std::vector<double> residuals;  ///< law minus measured pressure, one per point
    /// The same with the law fitted to all other ports: e / (1 - h), h the port's leverage (D. M.
    /// Allen, 1974). NaN where the law hangs on this port alone.
    std::vector<double> leave_one_out;
    /// Of the coefficients: s^2 times the inverse normal matrix, s^2 the sum of squared errors over
    /// N - terms. Nothing when there are no more ports than terms.
    std::optional<gauss_approximation::Matrix> covariance;
};

/// The law's pressure at a ratio.
double pressure_at(const gauss_approximation::Vector& coefficients, double ratio);
/// Standard error of that pressure, from the covariance of the coefficients; nothing without one.
std::optional<double> standard_error_at(const InSituFit& fit, double ratio);

/// The law from the smallest to the largest ratio of the points, in steps of one hundredth of that
/// range.
struct FittedCurve {
    std::vector<double> ratios;
    std::vector<double> pressures;
};
/// Nothing when the points have no range of ratios or a pressure is no finite number.
std::optional<FittedCurve> fitted_curve(const std::vector<CalibrationPoint>& points,
                                        const gauss_approximation::Vector& coefficients);

/// Fits the pressure as a polynomial in the ratio. Nothing when the points do not determine it
/// (fewer different ratios than terms) or hold a number that is not finite. Raises AlgoError for
/// terms other than 1 to 3.
std::optional<InSituFit> fit_in_situ(const std::vector<CalibrationPoint>& points, int terms);

}  // namespace vyn
