#include "align/displacement_field.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "align/kernels/displacement_kernels.h"
#include "api/isa.h"

namespace vyn {

VYN_CHOOSE_KERNELS(DisplacementKernels, displacement_kernels)

namespace {

/// Weights of the four coefficients about a position, `t` from 0 to 1 behind the second one.
void cubic_weights(double t, double (&w)[4]) {
    const double s = 1 - t;
    w[0] = s * s * s / 6;
    w[3] = t * t * t / 6;
    w[1] = 2.0 / 3 - t * t + 3 * w[3];
    w[2] = 2.0 / 3 - s * s + 3 * w[0];
}

/// Their derivatives by t.
void cubic_slopes(double t, double (&w)[4]) {
    const double s = 1 - t;
    w[0] = -s * s / 2;
    w[3] = t * t / 2;
    w[1] = -2 * t + 3 * w[3];
    w[2] = 2 * s + 3 * w[0];
}

/// Coefficients of the cubic spline without curvature at its ends through n samples `stride`
/// apart, in place; one more lies before and behind them: (c[k-1] + 4 c[k] + c[k+1]) / 6 = s[k].
void filter_line(double* c, int n, std::ptrdiff_t stride, std::vector<double>& scratch) {
    const auto at = [&](int k) -> double& { return c[k * stride]; };
    scratch.resize(static_cast<std::size_t>(n));
    double* const upper = scratch.data();
    upper[0] = 0;
    for (int k = 1; k + 1 < n; ++k) {
        const double pivot = 4 - upper[k - 1];
        upper[k] = 1 / pivot;
        at(k) = (6 * at(k) - at(k - 1)) / pivot;
    }
    for (int k = n - 2; k > 0; --k)
        at(k) -= upper[k] * at(k + 1);
    at(-1) = 2 * at(0) - at(1);
    at(n) = 2 * at(n - 1) - at(n - 2);
}

Bitmap<double> coefficients_of(const Bitmap<double>& nodes) {
    const int w = nodes.width();
    const int h = nodes.height();
    Bitmap<double> c(w + 2, h + 2, 0.0);
    std::vector<double> scratch;
    for (int r = 0; r < h; ++r) {
        std::copy_n(nodes.row(r), w, c.row(r + 1) + 1);
        filter_line(c.row(r + 1) + 1, w, 1, scratch);
    }
    for (int x = 0; x < w + 2; ++x)
        filter_line(c.row(1) + x, h, c.stride(), scratch);
    return c;
}

/// The node before a position, counted with the rings, and the rest in steps, 0 to 1.
struct Split {
    Split(double position, int step, int coefficients) {
        const double last = coefficients - 3;
        double t = position / step + DisplacementField::ring;
        t = t > 0 ? std::min(t, last) : 0;
        node = std::min(static_cast<int>(t), coefficients - 4);
        rest = t - node;
    }
    int node;
    double rest;
};

}  // namespace

struct DisplacementField::Place {
    Split x;
    Split y;

    double sum(const Bitmap<double>& c, const double (&wx)[4], const double (&wy)[4]) const {
        double total = 0;
        for (int j = 0; j < 4; ++j) {
            const double* const row = c.row(y.node + j) + x.node;
            total += wy[j] * (wx[0] * row[0] + wx[1] * row[1] + wx[2] * row[2] + wx[3] * row[3]);
        }
        return total;
    }
};

DisplacementField::DisplacementField(int step, const Bitmap<double>& u, const Bitmap<double>& v)
    : step_(step) {
    if (step < 1)
        throw AlgoError(
            "Algorithm error!",
            "a displacement field needs a step of at least 1 pixel, not " + std::to_string(step));
    if (!u.same_size(v) || u.width() <= 2 * ring || u.height() <= 2 * ring)
        throw DimError("the two planes of a displacement field do not fit");
    u_ = coefficients_of(u);
    v_ = coefficients_of(v);
}

DisplacementField::Place DisplacementField::place(double x, double y) const {
    return {Split(x, step_, u_.width()), Split(y, step_, u_.height())};
}

Point DisplacementField::at(Point position) const {
    const Place p = place(position.x, position.y);
    double wx[4];
    double wy[4];
    cubic_weights(p.x.rest, wx);
    cubic_weights(p.y.rest, wy);
    return {p.sum(u_, wx, wy), p.sum(v_, wx, wy)};
}

DisplacementField::Gradient DisplacementField::gradient(Point position) const {
    const Place p = place(position.x, position.y);
    double wx[4];
    double wy[4];
    double dx[4];
    double dy[4];
    cubic_weights(p.x.rest, wx);
    cubic_weights(p.y.rest, wy);
    cubic_slopes(p.x.rest, dx);
    cubic_slopes(p.y.rest, dy);
    return {p.sum(u_, dx, wy) / step_, p.sum(u_, wx, dy) / step_, p.sum(v_, dx, wy) / step_,
            p.sum(v_, wx, dy) / step_};
}

void DisplacementField::displace(double* x, double* y, int n) const {
    for (int i = 0; i < n; ++i) {
        const Point d = at({x[i], y[i]});
        x[i] += d.x;
        y[i] += d.y;
    }
}

void DisplacementField::seen_at(int x0, int n, int y, double* seen_x, double* seen_y) const {
    const Split row(y, step_, u_.height());
    double wy[4];
    cubic_weights(row.rest, wy);
    thread_local std::vector<double> scratch;
    scratch.resize(4 * static_cast<std::size_t>(u_.width() + displacement_margin));
    const DisplacementKernels& kernels = active_displacement_kernels();
    const auto fill = [&](const Bitmap<double>& c, double start, double slope, double* out) {
        kernels.row({c.row(row.node), c.stride(), wy, c.width(), step_, ring}, x0, n, start, slope,
                    scratch.data(), out);
    };
    fill(u_, 0, 1, seen_x);
    fill(v_, y, 0, seen_y);
}

RowMap DisplacementField::row_map() const {
    return
        [field = std::make_shared<const DisplacementField>(*this)](
            int x0, int n, int y, double* x, double* y_out) { field->seen_at(x0, n, y, x, y_out); };
}

}  // namespace vyn
