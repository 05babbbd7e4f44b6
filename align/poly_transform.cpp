#include "align/poly_transform.h"

#include <algorithm>
#include <cmath>

#include <Eigen/QR>

#include "core/errors.h"

namespace vyn {

namespace {

constexpr const char* source_unit = "match";
constexpr int fit_line = 34;
constexpr int evaluation_line = 116;

/// A column of the design matrix shorter than this, relative to the longest and after the others'
/// share is taken off, carries rounding errors only: on images of some thousand pixels, points
/// within a millionth of a pixel of one line.
constexpr double rank_threshold = 1e-10;

/// Powers of x and y in each term.
struct Powers {
    int x;
    int y;
};
constexpr std::array<Powers, 10> terms{
    {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {0, 2}, {2, 1}, {1, 2}, {3, 0}, {0, 3}}};
constexpr int binomial[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};

double power(double base, int exponent) {
    double result = 1;
    for (int i = 0; i < exponent; ++i)
        result *= base;
    return result;
}

bool is_count(int n) {
    return n == 0 || n == 1 || n == 3 || n == 6 || n == 10;
}

bool all_finite(std::span<const Point> points) {
    return std::all_of(points.begin(), points.end(),
                       [](const Point& p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}

bool all_finite(const PolyTransform& map) {
    const auto finite = [](double value) { return std::isfinite(value); };
    return std::all_of(map.ax.begin(), map.ax.end(), finite) &&
           std::all_of(map.ay.begin(), map.ay.end(), finite);
}

/// Coordinates in which the points lie within -1..1 about the middle of their bounding box.
struct Frame {
    Point centre;
    double scale = 1;  ///< pixels per unit
};

Frame frame_of(std::span<const Point> points) {
    const auto by_x = [](const Point& a, const Point& b) { return a.x < b.x; };
    const auto by_y = [](const Point& a, const Point& b) { return a.y < b.y; };
    const auto [left, right] = std::minmax_element(points.begin(), points.end(), by_x);
    const auto [top, bottom] = std::minmax_element(points.begin(), points.end(), by_y);
    Frame frame{{left->x / 2 + right->x / 2, top->y / 2 + bottom->y / 2}, 1};
    const double half_size = std::max(right->x - left->x, bottom->y - top->y) / 2;
    if (half_size > 0) frame.scale = half_size;
    return frame;
}

/// The polynomial of pixels that equals the one of the frame with these coefficients.
std::array<double, 10> to_pixels(const Eigen::VectorXd& in_frame, const Frame& frame) {
    std::array<double, 10> in_pixels{};
    for (Eigen::Index k = 0; k < in_frame.size(); ++k) {
        const Powers source = terms[static_cast<std::size_t>(k)];
        const double coefficient = in_frame[k] / power(frame.scale, source.x + source.y);
        for (Eigen::Index t = 0; t < in_frame.size(); ++t) {
            const auto target = static_cast<std::size_t>(t);
            const Powers lower = terms[target];
            if (lower.x > source.x || lower.y > source.y) continue;
            in_pixels[target] += coefficient * binomial[source.x][lower.x] *
                                 binomial[source.y][lower.y] *
                                 power(-frame.centre.x, source.x - lower.x) *
                                 power(-frame.centre.y, source.y - lower.y);
        }
    }
    return in_pixels;
}

PolyFit fit_shift(std::span<const Point> from, std::span<const Point> to) {
    PolyFit fit;
    fit.map.n = 1;
    Point sum;
    for (std::size_t i = 0; i < from.size(); ++i) {
        sum.x += to[i].x - from[i].x;
        sum.y += to[i].y - from[i].y;
    }
    const double weight = 1.0 / static_cast<double>(from.size());
    fit.map.ax[0] = sum.x * weight;
    fit.map.ay[0] = sum.y * weight;
    fit.ok = all_finite(fit.map);
    return fit;
}

/// Fits the correction to the identity by a complete orthogonal decomposition, which gives the
/// least-squares solution, and that of minimum norm where there are several.
PolyFit fit_polynomial(std::span<const Point> from, std::span<const Point> to, int n) {
    const Frame frame = frame_of(from);
    const auto rows = static_cast<Eigen::Index>(from.size());
    Eigen::MatrixXd design(rows, n);
    Eigen::MatrixXd correction(rows, 2);
    for (Eigen::Index i = 0; i < rows; ++i) {
        const Point& source = from[static_cast<std::size_t>(i)];
        const Point& target = to[static_cast<std::size_t>(i)];
        const double u = (source.x - frame.centre.x) / frame.scale;
        const double v = (source.y - frame.centre.y) / frame.scale;
        for (int k = 0; k < n; ++k) {
            const Powers p = terms[static_cast<std::size_t>(k)];
            design(i, k) = power(u, p.x) * power(v, p.y);
        }
        correction(i, 0) = target.x - source.x;
        correction(i, 1) = target.y - source.y;
    }
    Eigen::CompleteOrthogonalDecomposition<Eigen::MatrixXd> solver;
    solver.setThreshold(rank_threshold);
    solver.compute(design);
    const Eigen::MatrixXd solution = solver.solve(correction);

    PolyFit fit;
    fit.map.n = n;
    fit.map.ax = to_pixels(solution.col(0), frame);
    fit.map.ay = to_pixels(solution.col(1), frame);
    fit.map.ax[1] += 1;
    fit.map.ay[2] += 1;
    fit.underdetermined = solver.rank() < n;
    fit.ok = solver.info() == Eigen::Success && all_finite(fit.map);
    return fit;
}

/// Derivatives of one mapped coordinate.
struct Gradient {
    double x;
    double y;
};

Gradient gradient(const std::array<double, 10>& a, Point p) {
    const auto [x, y] = p;
    return {a[1] + a[3] * y + 2 * a[4] * x + 2 * a[6] * x * y + a[7] * y * y + 3 * a[8] * x * x,
            a[2] + a[3] * x + 2 * a[5] * y + a[6] * x * x + 2 * a[7] * x * y + 3 * a[9] * y * y};
}

}  // namespace

int poly_coefficient_count(int order) {
    switch (order) {
        case 0:
            return 1;
        case 1:
            return 3;
        case 2:
            return 6;
        case 3:
            return 10;
        default:
            return 0;
    }
}

Point apply_poly(double x, double y, int n, std::span<const double, 10> ax,
                 std::span<const double, 10> ay) {
    const auto linear = [x, y](std::span<const double, 10> c) {
        return c[1] * x + c[2] * y + c[0];
    };
    const auto quadratic = [x, y](std::span<const double, 10> c) {
        return (c[4] * x + c[3] * y + c[1]) * x + (c[5] * y + c[2]) * y + c[0];
    };
    const auto cubic = [x, y](std::span<const double, 10> c) {
        return ((c[8] * x + c[4]) * x + (c[6] * x + c[3]) * y + c[1]) * x +
               ((c[7] * x + c[9] * y + c[5]) * y + c[2]) * y + c[0];
    };
    switch (n) {
        case 0:
            return {x, y};
        case 1:
            return {x + ax[0], y + ay[0]};
        case 3:
            return {linear(ax), linear(ay)};
        case 6:
            return {quadratic(ax), quadratic(ay)};
        case 10:
            return {cubic(ax), cubic(ay)};
        default:
            throw AlgoError("Algorithm error!",
                            "a mapping has no " + std::to_string(n) + " coefficients",
                            {source_unit, evaluation_line});
    }
}

Jacobian poly_derivative(const PolyTransform& map, Point p) {
    if (map.n <= 1) return {};
    const Gradient gx = gradient(map.ax, p);
    const Gradient gy = gradient(map.ay, p);
    return {gx.x, gx.y, gy.x, gy.y};
}

Point inverse_mapped(const PolyTransform& map, Point target) {
    Point p = target;
    for (int i = 0; i < 20; ++i) {
        const Point mapped = apply_poly(map, p);
        const double ex = mapped.x - target.x;
        const double ey = mapped.y - target.y;
        if (map.n <= 1) return {p.x - ex, p.y - ey};
        const Gradient gx = gradient(map.ax, p);
        const Gradient gy = gradient(map.ay, p);
        const double determinant = gx.x * gy.y - gx.y * gy.x;
        const double step_x = (gy.y * ex - gx.y * ey) / determinant;
        const double step_y = (gx.x * ey - gy.x * ex) / determinant;
        p.x -= step_x;
        p.y -= step_y;
        // The curvature is below 1e-3 per pixel, so the next step would be below 1e-13.
        if (step_x * step_x + step_y * step_y < 1e-10) break;
    }
    return p;
}

PolyFit fit_poly(std::span<const Point> from, std::span<const Point> to, int n) {
    if (!is_count(n) || from.size() != to.size())
        throw AlgoError("Algorithm error!",
                        "no fit of " + std::to_string(n) + " coefficients from " +
                            std::to_string(from.size()) + " to " + std::to_string(to.size()) +
                            " points",
                        {source_unit, fit_line});
    PolyFit fit;
    fit.map.n = n;
    if (n == 0) {
        fit.map.ax[1] = 1.0;
        fit.map.ay[2] = 1.0;
        fit.ok = true;
        return fit;
    }
    if (from.empty() || !all_finite(from) || !all_finite(to)) return fit;
    return n == 1 ? fit_shift(from, to) : fit_polynomial(from, to, n);
}

}  // namespace vyn
