#include "align/dots/dot_fit.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include <Eigen/Cholesky>

namespace vyn {

namespace {

/// One pixel of the window relative to its middle; the value with its sign changed for dark dots,
/// so that every dot rises above its background.
struct Sample {
    double x;
    double y;
    double value;
};

/// Share of the window that must be valid.
constexpr double min_valid_share = 0.6;
/// Width of the soft rim of the window of the moment, pixels.
constexpr double soft_rim = 2;
constexpr int moment_rounds = 6;
constexpr int max_steps = 60;
constexpr double converged_step = 1e-5;

std::vector<Sample> window_samples(const image& picture, Point middle, double window, double sign) {
    std::vector<Sample> samples;
    const int x0 = std::max(0, static_cast<int>(std::ceil(middle.x - window)));
    const int x1 = std::min(picture.width() - 1, static_cast<int>(std::floor(middle.x + window)));
    const int y0 = std::max(0, static_cast<int>(std::ceil(middle.y - window)));
    const int y1 = std::min(picture.height() - 1, static_cast<int>(std::floor(middle.y + window)));
    for (int y = y0; y <= y1; ++y) {
        const float* values = picture.values().row(y);
        const std::uint8_t* mask = picture.mask().row(y);
        for (int x = x0; x <= x1; ++x) {
            const double u = x - middle.x;
            const double v = y - middle.y;
            if (u * u + v * v > window * window || mask[x] != 0 || !std::isfinite(values[x]))
                continue;
            samples.push_back({u, v, sign * values[x]});
        }
    }
    return samples;
}

bool enough(const std::vector<Sample>& samples, double window) {
    return static_cast<double>(samples.size()) >=
           min_valid_share * std::numbers::pi * window * window;
}

double quantile(std::vector<double>& values, double share) {
    const auto place = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

/// Where to start: background and height of the dot, and its radius from the area above half.
struct Start {
    Point centre;  ///< relative to the window's middle
    double background = 0;
    double height = 0;
    double radius = 0;
};

std::optional<Start> soft_moment(const std::vector<Sample>& samples, double window) {
    std::vector<double> rim;
    std::vector<double> inner;
    for (const Sample& s : samples) {
        const double distance = std::hypot(s.x, s.y);
        if (distance > 0.75 * window) rim.push_back(s.value);
        if (distance < 0.5 * window) inner.push_back(s.value);
    }
    if (rim.size() < 4 || inner.size() < 4) return std::nullopt;
    Start start;
    start.background = quantile(rim, 0.5);
    start.height = quantile(inner, 0.95) - start.background;
    if (!(start.height > 0)) return std::nullopt;

    const double threshold = start.background + 0.3 * start.height;
    for (int round = 0; round < moment_rounds; ++round) {
        double weights = 0;
        Point sum;
        for (const Sample& s : samples) {
            const double distance = std::hypot(s.x - start.centre.x, s.y - start.centre.y);
            const double disc = std::clamp((0.8 * window - distance) / soft_rim, 0.0, 1.0);
            const double weight = disc * std::max(0.0, s.value - threshold);
            weights += weight;
            sum.x += weight * s.x;
            sum.y += weight * s.y;
        }
        if (!(weights > 0)) return std::nullopt;
        start.centre = {sum.x / weights, sum.y / weights};
    }
    const auto above = std::count_if(samples.begin(), samples.end(), [&](const Sample& s) {
        return s.value > start.background + 0.5 * start.height;
    });
    start.radius =
        std::sqrt(static_cast<double>(std::max<std::ptrdiff_t>(above, 3)) / std::numbers::pi);
    return start;
}

/// background, slope x, slope y, height, centre x, centre y, ln s, ln e
constexpr int parameter_count = 8;
using Parameters = Eigen::Matrix<double, parameter_count, 1>;
using Matrix = Eigen::Matrix<double, parameter_count, parameter_count>;
enum { background, slope_x, slope_y, height, centre_x, centre_y, log_width, log_exponent };

constexpr double min_log_exponent = -0.4;
constexpr double max_log_exponent = 2.1;

/// Light that falls unevenly changes background and dot by the same share: the dot's height follows
/// the background's slope.
double residual_and_gradient(const Parameters& p, const Sample& s, Parameters& gradient) {
    const double dx = s.x - p[centre_x];
    const double dy = s.y - p[centre_y];
    const double square = std::max(dx * dx + dy * dy, 1e-9);
    const double exponent = std::exp(p[log_exponent]);
    const double log_ratio = std::log(square / 2) - 2 * p[log_width];
    const double power = std::exp(std::min(exponent * log_ratio, 700.0));
    const double bell = std::exp(-power);
    const double level =
        std::copysign(std::max(std::abs(p[background]), std::abs(p[height])), p[background]);
    const double share = 1 + (p[slope_x] * dx + p[slope_y] * dy) / level;
    const double steep = power > 0 && bell > 0 ? share * p[height] * bell * power * exponent : 0;
    const double lit = p[height] * bell / level;
    gradient << 1, s.x + lit * dx, s.y + lit * dy, bell * share,
        2 * steep * dx / square - lit * p[slope_x], 2 * steep * dy / square - lit * p[slope_y],
        2 * steep, -steep * log_ratio;
    return s.value -
           (p[background] + p[slope_x] * s.x + p[slope_y] * s.y + p[height] * bell * share);
}

struct Linearised {
    Matrix normal = Matrix::Zero();
    Parameters right = Parameters::Zero();
    double squares = 0;
};

Linearised linearise(const std::vector<Sample>& samples, const Parameters& p) {
    Linearised result;
    Parameters gradient;
    for (const Sample& s : samples) {
        const double residual = residual_and_gradient(p, s, gradient);
        result.normal.noalias() += gradient * gradient.transpose();
        result.right += residual * gradient;
        result.squares += residual * residual;
    }
    return result;
}

/// The least-squares parameters and the sum of squares there.
std::pair<Parameters, double> minimise(const std::vector<Sample>& samples, Parameters p) {
    const double max_log_width = p[log_width] + 1;
    const double min_log_width = p[log_width] - 1.5;
    Linearised here = linearise(samples, p);
    double damping = 1e-3;
    for (int step = 0; step < max_steps && damping < 1e9; ++step) {
        Matrix damped = here.normal;
        damped.diagonal() *= 1 + damping;
        damped.diagonal().array() += 1e-12 * here.normal.diagonal().maxCoeff();
        const Parameters change = damped.ldlt().solve(here.right);
        Parameters next = p + change;
        next[log_width] = std::clamp(next[log_width], min_log_width, max_log_width);
        next[log_exponent] = std::clamp(next[log_exponent], min_log_exponent, max_log_exponent);
        const Linearised there = linearise(samples, next);
        if (!(there.squares < here.squares)) {
            damping *= 8;
            continue;
        }
        const bool settled = std::hypot(change[centre_x], change[centre_y]) < converged_step &&
                             here.squares - there.squares < 1e-6 * here.squares;
        p = next;
        here = there;
        damping = std::max(damping / 8, 1e-12);
        if (settled) break;
    }
    return {p, here.squares};
}

/// How far beyond its radius a blurred dot reaches, pixels.
constexpr double rim = 1;

double core_error(const std::vector<Sample>& samples, const Parameters& p, double radius) {
    double squares = 0;
    int count = 0;
    Parameters gradient;
    for (const Sample& s : samples) {
        if (std::hypot(s.x - p[centre_x], s.y - p[centre_y]) > radius + rim) continue;
        const double residual = residual_and_gradient(p, s, gradient);
        squares += residual * residual;
        ++count;
    }
    return count > 0 ? std::sqrt(squares / count) : 0;
}

Parameters start_parameters(const Start& start) {
    Parameters p = Parameters::Zero();
    p[background] = start.background;
    p[height] = start.height;
    p[centre_x] = start.centre.x;
    p[centre_y] = start.centre.y;
    p[log_width] = std::log(start.radius / std::sqrt(2 * std::numbers::ln2));
    p[log_exponent] = std::log(1.5);
    return p;
}

}  // namespace

std::optional<DotFit> fit_dot(const image& picture, Point start, double window,
                              DotPolarity polarity) {
    picture.check_planes();
    if (!std::isfinite(start.x) || !std::isfinite(start.y) || !(window <= max_dot_window))
        return std::nullopt;
    window = std::max(window, min_dot_window);
    if (start.x < -window || start.y < -window || start.x > picture.width() + window ||
        start.y > picture.height() + window)
        return std::nullopt;
    const double sign = polarity == DotPolarity::dark ? -1 : 1;

    std::vector<Sample> samples = window_samples(picture, start, window, sign);
    if (!enough(samples, window)) return std::nullopt;
    const std::optional<Start> first = soft_moment(samples, window);
    if (!first) return std::nullopt;
    // Once more with the window about the dot, so that it is seen whole on every side.
    const Point middle{start.x + first->centre.x, start.y + first->centre.y};
    samples = window_samples(picture, middle, window, sign);
    if (!enough(samples, window)) return std::nullopt;
    const std::optional<Start> second = soft_moment(samples, window);
    if (!second) return std::nullopt;

    const auto [p, squares] = minimise(samples, start_parameters(*second));
    DotFit fit;
    fit.centre = {middle.x + p[centre_x], middle.y + p[centre_y]};
    fit.depth = p[height];
    fit.slope = {sign * p[slope_x], sign * p[slope_y]};
    fit.background = sign * (p[background] + p[slope_x] * p[centre_x] + p[slope_y] * p[centre_y]);
    fit.radius = std::exp(p[log_width]) * std::numbers::sqrt2 *
                 std::pow(std::numbers::ln2, 0.5 * std::exp(-p[log_exponent]));
    fit.error = std::sqrt(squares / static_cast<double>(samples.size()));
    fit.core_error = core_error(samples, p, fit.radius);
    const bool inside = std::hypot(fit.centre.x - start.x, fit.centre.y - start.y) < window &&
                        fit.radius < window && fit.depth > 0;
    if (!inside || !std::isfinite(fit.error)) return std::nullopt;
    return fit;
}

}  // namespace vyn
