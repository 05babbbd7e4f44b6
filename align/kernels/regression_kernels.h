#pragma once

#include <cstddef>

namespace vyn {

/// Terms of a polynomial in two coordinates up to a degree, by rising degree: term 0 is the
/// constant, x^i y^j of degree d = i + j is number d (d + 1) / 2 + j.
constexpr int polynomial_terms(int degree) {
    return (degree + 1) * (degree + 2) / 2;
}
inline constexpr int max_polynomial_degree = 4;

/// Number of the moment x^i y^j among those up to a total power: those of one i lie together.
constexpr int moment_number(int i, int j, int power) {
    return i * (power + 1) - i * (i - 1) / 2 + j;
}

/// Moments of the equations about `count` places, and what the polynomials there are. Quantity q of
/// place a lies at [q * stride + a]; `stride` is a multiple of 8, up to the next of which places
/// are read and written.
struct RegressionPlaces {
    const double* xx;  ///< moments up to twice the degree
    const double* xy;
    const double* yy;
    const double* x;  ///< moments up to the degree
    const double* y;
    std::ptrdiff_t stride;
    int count;
    double ridge;  ///< added to the diagonal but for the constants
    /// Terms of u, terms of v, then the covariance of both constants: uu, uv, vv. The variances are
    /// negative where the equations determine nothing.
    double* result;
};

struct RegressionKernels {
    /// out[k * stride + a] = sum over the taps i of factors[k * taps + i] sources[i][a] for k below
    /// `powers` (1 to 9) and a below n, a multiple of 8.
    void (*sum_taps)(const double* const* sources, const double* factors, int taps, int powers,
                     int n, double* out, std::ptrdiff_t stride);
    /// Solves the normal equations of polynomials of a degree (2 or 4).
    void (*solve)(const RegressionPlaces& places, int degree);
};

}  // namespace vyn
