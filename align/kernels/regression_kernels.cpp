// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "align/kernels/regression_kernels.h"

#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

template <int powers>
void sum_taps_of(const double* const* sources, const double* factors, int taps, int n, double* out,
                 std::ptrdiff_t stride) {
    for (int a = 0; a < n; a += half_lanes) {
        vdouble sum[powers]{};
        for (int i = 0; i < taps; ++i) {
            const vdouble value = load<vdouble>(sources[i] + a);
            for (int k = 0; k < powers; ++k)
                sum[k] += factors[k * taps + i] * value;
        }
        for (int k = 0; k < powers; ++k)
            store(out + k * stride + a, sum[k]);
    }
}

void sum_taps(const double* const* sources, const double* factors, int taps, int powers, int n,
              double* out, std::ptrdiff_t stride) {
    static constexpr decltype(&sum_taps_of<1>) of[] = {
        sum_taps_of<1>, sum_taps_of<2>, sum_taps_of<3>, sum_taps_of<4>, sum_taps_of<5>,
        sum_taps_of<6>, sum_taps_of<7>, sum_taps_of<8>, sum_taps_of<9>};
    of[powers - 1](sources, factors, taps, n, out, stride);
}

struct Powers {
    int x;
    int y;
};

/// Unknowns in the order of elimination: the terms of u and of v but for the constants, then both
/// constants, so that the last 2 x 2 pivot block is the inverse of their covariance.
template <int degree>
struct Unknowns {
    static constexpr int terms = polynomial_terms(degree);
    static constexpr int count = 2 * terms;
    int component[count];
    int term[count];
    Powers powers[terms];

    constexpr Unknowns() : component(), term(), powers() {
        for (int d = 0, t = 0; d <= degree; ++d)
            for (int j = 0; j <= d; ++j, ++t)
                powers[t] = {d - j, j};
        for (int t = 1; t < terms; ++t) {
            term[t - 1] = t;
            component[t - 1] = 0;
            term[terms - 1 + t - 1] = t;
            component[terms - 1 + t - 1] = 1;
        }
        term[count - 2] = term[count - 1] = 0;
        component[count - 2] = 0;
        component[count - 1] = 1;
    }
    constexpr int moment(int i, int j) const {
        return moment_number(powers[term[i]].x + powers[term[j]].x,
                             powers[term[i]].y + powers[term[j]].y, 2 * degree);
    }
    constexpr int moment(int i) const {
        return moment_number(powers[term[i]].x, powers[term[i]].y, degree);
    }
};

/// Factors L D L^T row by row and solves, for as many places as a vector has lanes.
template <int degree>
void solve_group(const RegressionPlaces& p, int a) {
    static constexpr Unknowns<degree> unknowns;
    constexpr int n = unknowns.count;
    constexpr int terms = unknowns.terms;
    constexpr double least_pivot = 1e-10;
    constexpr double nothing = 1e-30;
    vdouble packed[n * (n - 1) / 2];  // rows of L below the diagonal
    vdouble inverse_pivot[n];
    vdouble solution[n];
    vlong lost{};
    const double* const quantity[2][2] = {{p.xx, p.xy}, {p.xy, p.yy}};
    const double* const right[2] = {p.x, p.y};
    for (int i = 0; i < n; ++i) {
        const int component = unknowns.component[i];
        const int term = unknowns.term[i];
        vdouble* const row = packed + i * (i - 1) / 2;
        for (int j = 0; j < i; ++j) {  // L D first
            vdouble sum = load<vdouble>(quantity[component][unknowns.component[j]] +
                                        unknowns.moment(i, j) * p.stride + a);
            const vdouble* const other = packed + j * (j - 1) / 2;
            for (int k = 0; k < j; ++k)
                sum -= row[k] * other[k];
            row[j] = sum;
        }
        const vdouble diagonal =
            load<vdouble>(quantity[component][component] + unknowns.moment(i, i) * p.stride + a) +
            (term == 0 ? 0.0 : p.ridge);
        vdouble pivot = diagonal;
        vdouble rest = load<vdouble>(right[component] + unknowns.moment(i) * p.stride + a);
        for (int k = 0; k < i; ++k) {
            const vdouble scaled = row[k] * inverse_pivot[k];
            pivot -= scaled * row[k];
            rest -= scaled * solution[k];
            row[k] = scaled;
        }
        const vlong weak = ~(pivot > least_pivot * diagonal + nothing);
        lost |= weak;
        inverse_pivot[i] = weak ? vdouble{} + 1.0 : 1.0 / pivot;
        solution[i] = rest;
    }
    for (int i = n - 1; i >= 0; --i) {
        vdouble value = solution[i] * inverse_pivot[i];
        for (int k = i + 1; k < n; ++k)
            value -= packed[k * (k - 1) / 2 + i] * solution[k];
        solution[i] = value;
        store(p.result + (unknowns.component[i] * terms + unknowns.term[i]) * p.stride + a,
              lost ? vdouble{} : value);
    }
    const vdouble link = packed[(n - 1) * (n - 2) / 2 + n - 2];
    const vdouble of_v = inverse_pivot[n - 1];
    const vdouble of_u = inverse_pivot[n - 2] + link * link * of_v;
    double* const covariance = p.result + 2 * terms * p.stride + a;
    store(covariance, lost ? vdouble{} - 1.0 : of_u);
    store(covariance + p.stride, lost ? vdouble{} : -link * of_v);
    store(covariance + 2 * p.stride, lost ? vdouble{} - 1.0 : of_v);
}

void solve(const RegressionPlaces& places, int degree) {
    for (int a = 0; a < places.count; a += half_lanes)
        if (degree == 2)
            solve_group<2>(places, a);
        else
            solve_group<4>(places, a);
}

}  // namespace

extern const RegressionKernels regression_kernels;
const RegressionKernels regression_kernels = {sum_taps, solve};

}  // namespace vyn::VYN_ISA
