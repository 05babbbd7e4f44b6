#include "resect/report_numbers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <Eigen/Dense>

#include "core/numbers.h"

namespace vyn {

namespace {

using Eigen::Index;
using Eigen::Vector2d;
using Eigen::Vector3d;

constexpr double degrees = 180 / std::numbers::pi;

/// Where a camera's free intrinsics stand among the parameters; -1 for those that are held.
std::array<Index, intrinsic_count> parameters_of(const Adjustment& problem, std::size_t camera) {
    Index next = 6 * static_cast<Index>(problem.views.size());
    std::array<Index, intrinsic_count> numbers{};
    for (std::size_t c = 0; c <= camera; ++c)
        for (std::size_t i = 0; i < intrinsic_count; ++i)
            numbers[i] = problem.cameras[c].free[i] ? next++ : -1;
    return numbers;
}

double value_of(const PinholeCamera& camera, Intrinsic which) {
    switch (which) {
        case Intrinsic::focus:
            return camera.fx;
        case Intrinsic::cx:
            return camera.lens.cx;
        case Intrinsic::cy:
            return camera.lens.cy;
        case Intrinsic::a2:
            return camera.lens.a2;
        case Intrinsic::a4:
            return camera.lens.a4;
    }
    return 0;
}

/// Area of the convex hull (Andrew's chain).
double hull_area(std::vector<Vector2d> points) {
    std::ranges::sort(points, [](const Vector2d& a, const Vector2d& b) {
        return a.x() != b.x() ? a.x() < b.x() : a.y() < b.y();
    });
    const auto cross = [](const Vector2d& o, const Vector2d& a, const Vector2d& b) {
        return (a.x() - o.x()) * (b.y() - o.y()) - (a.y() - o.y()) * (b.x() - o.x());
    };
    std::vector<Vector2d> hull;
    for (int side = 0; side < 2; ++side) {
        const std::size_t start = hull.size();
        for (const Vector2d& p : points) {
            while (hull.size() >= start + 2 && cross(hull[hull.size() - 2], hull.back(), p) <= 0)
                hull.pop_back();
            hull.push_back(p);
        }
        if (!hull.empty()) hull.pop_back();
        std::ranges::reverse(points);
    }
    double area = 0;
    for (std::size_t i = 0; i < hull.size(); ++i) {
        const Vector2d& a = hull[i];
        const Vector2d& b = hull[(i + 1) % hull.size()];
        area += (a.x() * b.y() - b.x() * a.y()) / 2;
    }
    return std::abs(area);
}

/// Turns about z, y and x whose product is the rotation.
std::array<double, 3> angles_of(const Eigen::Matrix3d& r) {
    return {degrees * std::atan2(r(1, 0), r(0, 0)),
            degrees * std::asin(std::clamp(-r(2, 0), -1.0, 1.0)),
            degrees * std::atan2(r(2, 1), r(2, 2))};
}

void add_residuals(ViewResult& result, const AdjustView& view, const AdjustmentReport& report,
                   std::size_t v) {
    double squares = 0;
    double left_out_squares = 0;
    std::vector<Vector2d> pixels;
    for (std::size_t i = 0; i < view.pairs.size(); ++i) {
        const DotPair& pair = view.pairs[i];
        const auto& residual = report.residuals[v][i];
        const Vector2d r(residual.dx, residual.dy);
        const Eigen::Matrix2d rest = Eigen::Matrix2d::Identity() - residual.leverage;
        const double expected = report.scatter * pair.sigma;
        MarkerResult marker{pair.marker, pair.dot, pair.place, pair.pixel, r.x(), r.y()};
        if (static_cast<std::size_t>(pair.marker) < report.corrections.size())
            marker.place += report.corrections[static_cast<std::size_t>(pair.marker)];
        const Vector2d alone = rest.fullPivLu().solve(r);
        marker.standardised =
            expected > 0 ? std::sqrt(std::max(0.0, r.dot(alone)) / 2) / expected : 0;
        marker.used = true;
        squares += r.squaredNorm();
        left_out_squares += alone.squaredNorm();
        result.mean += r.norm() / double(view.pairs.size());
        result.largest = std::max(result.largest, marker.length());
        pixels.emplace_back(pair.pixel.x, pair.pixel.y);
        result.markers.push_back(marker);
    }
    result.used = view.pairs.size();
    result.rms = std::sqrt(squares / double(view.pairs.size()));
    result.leave_one_out_rms = std::sqrt(left_out_squares / double(view.pairs.size()));
    result.hull_share =
        hull_area(pixels) / (double(result.camera.width) * double(result.camera.height));
}

}  // namespace

double tilt_of(const Pose& pose, const Spread& spread) {
    const Vector3d sight = pose.in_camera(spread.middle).normalized();
    const double cosine = std::abs(sight.dot(pose.rotation * spread.axes.col(2)));
    return degrees * std::acos(std::min(1.0, cosine));
}

ViewResult view_numbers(const Adjustment& problem, const AdjustmentReport& report, std::size_t v) {
    const AdjustView& view = problem.views[v];
    const auto camera = static_cast<std::size_t>(view.camera);
    ViewResult result;
    result.camera = problem.cameras[camera].camera;
    result.pose = view.pose;
    const auto numbers = parameters_of(problem, camera);
    std::vector<Index> kept;
    for (Index i = 0; i < 6; ++i)
        kept.push_back(6 * static_cast<Index>(v) + i);
    for (std::size_t i = 0; i < intrinsic_count; ++i) {
        if (numbers[i] < 0) continue;
        kept.push_back(numbers[i]);
        const auto which = static_cast<Intrinsic>(i);
        double sigma = std::sqrt(report.covariance(numbers[i], numbers[i]));
        if (which == Intrinsic::focus) sigma *= result.camera.fx;
        result.freed.push_back({which, value_of(result.camera, which), sigma});
    }
    result.covariance = report.covariance(kept, kept);
    add_residuals(result, view, report, v);
    const Spread spread = spread_of(view.pairs);
    result.planar = spread.in_plane();
    result.tilt = result.planar ? tilt_of(result.pose, spread) : 0;
    const Vector3d middle = result.pose.in_camera(spread.middle);
    result.distance = middle.norm();
    result.mm_per_pixel = middle.z() / std::sqrt(result.camera.fx * result.camera.fy);
    result.angles = angles_of(result.pose.rotation);
    return result;
}

MarkerResult marker_numbers(const ViewResult& view, const DotPair& pair) {
    MarkerResult result{pair.marker, pair.dot, pair.place, pair.pixel};
    const auto pixel = raw_pixel(view.camera, view.pose.in_camera(pair.place));
    if (!pixel) return result;
    result.dx = pair.pixel.x - pixel->x;
    result.dy = pair.pixel.y - pixel->y;
    return result;
}

WeakIntrinsic weakest_intrinsic(const Adjustment& problem, const AdjustmentReport& report) {
    constexpr double most_focus = 0.02;
    constexpr double most_centre = 0.02;  // of the width
    constexpr double most_lens = 1;       // pixels
    constexpr double most_condition = 1e8;
    WeakIntrinsic weakest;
    double worst = report.condition > most_condition ? 0 : 1;
    const auto consider = [&](Intrinsic which, double share, const std::string& words) {
        if (!(share > worst)) return;
        worst = share;
        weakest = {true, which, words};
    };
    const auto text = [](double number) { return format_general(number, 2); };
    for (std::size_t c = 0; c < problem.cameras.size(); ++c) {
        const auto at = parameters_of(problem, c);
        const auto sigma = [&](Intrinsic which) {
            const Index i = at[static_cast<std::size_t>(which)];
            return i < 0 ? 0.0 : std::sqrt(report.covariance(i, i));
        };
        const double focus = sigma(Intrinsic::focus);
        consider(Intrinsic::focus, focus / most_focus, "σ " + text(100 * focus) + " %");
        const double width = problem.cameras[c].camera.width;
        const double centre = std::max(sigma(Intrinsic::cx), sigma(Intrinsic::cy));
        if (centre > 0)
            consider(Intrinsic::cx, centre / (most_centre * width), "σ " + text(centre) + " px");
        // The lens at the edge of the hull: how far a raw pixel there moves with a2 and a4.
        const Distortion& lens = problem.cameras[c].camera.lens;
        double edge = 0;
        for (const AdjustView& view : problem.views)
            if (static_cast<std::size_t>(view.camera) == c)
                for (const DotPair& pair : view.pairs)
                    edge =
                        std::max(edge, std::hypot(pair.pixel.x - lens.cx, pair.pixel.y - lens.cy));
        const Index i2 = at[static_cast<std::size_t>(Intrinsic::a2)];
        const Index i4 = at[static_cast<std::size_t>(Intrinsic::a4)];
        const Vector2d lever(i2 < 0 ? 0 : std::pow(edge, 3), i4 < 0 ? 0 : std::pow(edge, 5));
        const auto entry = [&](Index i, Index j) {
            return i < 0 || j < 0 ? 0.0 : report.covariance(i, j);
        };
        Eigen::Matrix2d covariance;
        covariance << entry(i2, i2), entry(i2, i4), entry(i4, i2), entry(i4, i4);
        const double lens_sigma = std::sqrt(std::max(0.0, lever.dot(covariance * lever)));
        if (lens_sigma > 0)
            consider(i4 >= 0 ? Intrinsic::a4 : Intrinsic::a2, lens_sigma / most_lens,
                     "σ " + text(lens_sigma) + " px at the edge of the markers");
    }
    return weakest;
}

}  // namespace vyn
