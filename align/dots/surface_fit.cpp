#include "align/dots/surface_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <Eigen/QR>

#include "core/log.h"
#include "core/numbers.h"

namespace vyn {

namespace {

constexpr int coefficient_count = 6;
/// Relative to the largest pivot. The box's own frame keeps the normal equations of a sound set of
/// pixels many orders above this.
constexpr double rank_threshold = 1e-9;

using Basis = Eigen::Matrix<double, coefficient_count, 1>;

/// The part of the box inside the image and the frame in which it spans -1..1.
struct Box {
    int x0, y0, x1, y1;
    double centre_x, centre_y, scale;

    Basis basis(int x, int y) const {
        const double u = (x - centre_x) / scale;
        const double v = (y - centre_y) / scale;
        return {1, u, v, u * u, v * v, u * v};
    }
};

Box clipped_box(const image& picture, Pixel corner0, Pixel corner1) {
    Box box{std::max(corner0.x, 0),
            std::max(corner0.y, 0),
            std::min(corner1.x, picture.width() - 1),
            std::min(corner1.y, picture.height() - 1),
            0,
            0,
            1};
    box.centre_x = (double(box.x0) + box.x1) / 2;
    box.centre_y = (double(box.y0) + box.y1) / 2;
    box.scale = std::max({1.0, (double(box.x1) - box.x0) / 2, (double(box.y1) - box.y0) / 2});
    return box;
}

template <class Visit>
void for_each_valid(const image& picture, const Box& box, const Visit& visit) {
    for (int y = box.y0; y <= box.y1; ++y) {
        const float* values = picture.values().row(y);
        const std::uint8_t* mask = picture.mask().row(y);
        for (int x = box.x0; x <= box.x1; ++x)
            if (mask[x] == 0 && std::isfinite(values[x])) visit(x, y, double{values[x]});
    }
}

SurfaceCoefficients to_pixels(const Basis& c, const Box& box) {
    const double x = box.centre_x;
    const double y = box.centre_y;
    const double c1 = c[1] / box.scale;
    const double c2 = c[2] / box.scale;
    const double square = box.scale * box.scale;
    const double c3 = c[3] / square;
    const double c4 = c[4] / square;
    const double c5 = c[5] / square;
    return {c[0] - c1 * x - c2 * y + c3 * x * x + c4 * y * y + c5 * x * y,
            c1 - 2 * c3 * x - c5 * y,
            c2 - 2 * c4 * y - c5 * x,
            c3,
            c4,
            c5};
}

/// Rounding of the pixels must not decide between a plane, a bowl and a saddle.
void clear_rounding(Basis& surface, double largest_value) {
    const double resolution = std::numeric_limits<float>::epsilon() * largest_value;
    for (int k = 3; k < coefficient_count; ++k)
        if (std::abs(surface[k]) <= resolution) surface[k] = 0;
}

struct FitError {
    double root_mean_square = 0;
    int worst_sample = 0;  ///< counted from 0, row by row
};

FitError measure_error(const image& picture, const Box& box, const Basis& surface) {
    FitError error;
    double squares = 0;
    double largest = -1;
    int count = 0;
    for_each_valid(picture, box, [&](int x, int y, double value) {
        const double residual = value - surface.dot(box.basis(x, y));
        squares += residual * residual;
        if (std::abs(residual) > largest) {
            largest = std::abs(residual);
            error.worst_sample = count;
        }
        ++count;
    });
    error.root_mean_square = std::sqrt(squares / count);
    return error;
}

}  // namespace

bool Approx_surface(const image& picture, Pixel corner0, Pixel corner1,
                    SurfaceCoefficients& coefficients) {
    picture.check_planes();
    const Box box = clipped_box(picture, corner0, corner1);
    Eigen::Matrix<double, coefficient_count, coefficient_count> normal;
    normal.setZero();
    Basis right = Basis::Zero();
    double largest_value = 0;
    int count = 0;
    for_each_valid(picture, box, [&](int x, int y, double value) {
        const Basis basis = box.basis(x, y);
        normal.noalias() += basis * basis.transpose();
        right += value * basis;
        largest_value = std::max(largest_value, std::abs(value));
        ++count;
    });
    Eigen::ColPivHouseholderQR<decltype(normal)> solver;
    solver.setThreshold(rank_threshold);
    solver.compute(normal);
    if (count < coefficient_count || solver.rank() < coefficient_count) {
        get_log().write(LogLevel::information, "Approx_surface:Can't find LSQ fit");
        return false;
    }
    Basis surface = solver.solve(right);
    clear_rounding(surface, largest_value);
    const FitError error = measure_error(picture, box, surface);
    get_log().write(LogLevel::progress, "Approx_surface:Gauss approximation: error=" +
                                            format_general(error.root_mean_square, 6) +
                                            " maximum at:" + std::to_string(error.worst_sample));
    coefficients = to_pixels(surface, box);
    return true;
}

}  // namespace vyn
