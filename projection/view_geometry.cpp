#include "projection/view_geometry.h"

#include <limits>

#include <Eigen/Dense>

#include "api/isa.h"

namespace vyn {

VYN_CHOOSE_KERNELS(PinholeKernels, pinhole_kernels)

ViewGeometry::ViewGeometry(const ProjectedView& view, double mm_per_unit)
    : view_(view), mm_per_unit_(mm_per_unit), same_lens_(view.camera.lens == view.field_lens) {
    const Eigen::Vector3d centre = view.pose.centre() / mm_per_unit;
    centre_ = {centre.x(), centre.y(), centre.z()};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column)
            pinhole_.turn[row][column] = mm_per_unit * view.pose.rotation(row, column);
        pinhole_.shift[row] = view.pose.shift[row];
    }
    pinhole_.fx = view.camera.fx;
    pinhole_.fy = view.camera.fy;
    pinhole_.cx = view.camera.lens.cx;
    pinhole_.cy = view.camera.lens.cy;
}

std::optional<Point> ViewGeometry::through_lenses(Point ideal) const {
    if (same_lens_) return ideal;
    const auto raw = raw_from_ideal(view_.camera.lens, ideal);
    if (!raw) return std::nullopt;
    return ideal_position(view_.field_lens, *raw);
}

std::optional<Point> ViewGeometry::pixel(const Vec3& place) const {
    const auto ideal = ideal_pixel(view_.camera, in_camera(place));
    return ideal ? through_lenses(*ideal) : std::nullopt;
}

void ViewGeometry::pixels(std::span<const Vec3> places, double* x, double* y) const {
    if (places.empty()) return;
    static_assert(sizeof(Vec3) == 3 * sizeof(double));
    active_pinhole_kernels().pixels(pinhole_, places.front().data(),
                                    static_cast<int>(places.size()), x, y);
    if (same_lens_) return;
    constexpr double unseen = std::numeric_limits<double>::quiet_NaN();
    for (std::size_t i = 0; i < places.size(); ++i) {
        const Point pixel = through_lenses({x[i], y[i]}).value_or(Point{unseen, unseen});
        x[i] = pixel.x;
        y[i] = pixel.y;
    }
}

double ViewGeometry::sigma(const Vec3& place, Point pixel,
                           const std::array<double, 2>& gradient) const {
    const Eigen::Index parameters = view_.covariance.rows();
    if (parameters < 6) return 0;
    const Eigen::Vector3d at = in_camera(place);
    const auto raw = raw_projection(view_.camera, at);
    if (!raw) return 0;
    // From raw pixels to the field's ideal ones.
    const Jacobian bend = distortion_derivative(view_.field_lens, pixel);
    Eigen::Matrix2d raw_by_ideal;
    raw_by_ideal << bend.xx, bend.xy, bend.yx, bend.yy;
    const Eigen::RowVector2d by_raw =
        Eigen::RowVector2d(gradient[0], gradient[1]) * raw_by_ideal.inverse();
    const Eigen::Vector3d turned = at - view_.pose.shift;
    Eigen::RowVectorXd by_parameter(parameters);
    const Eigen::RowVector3d by_place = by_raw * raw->by_place;
    by_parameter.head<3>() = turned.cross(by_place.transpose()).transpose();
    by_parameter.segment<3>(3) = by_place;
    for (std::size_t i = 0; i < view_.freed.size(); ++i)
        by_parameter[6 + static_cast<Eigen::Index>(i)] =
            by_raw * raw->by_intrinsic.col(static_cast<Eigen::Index>(view_.freed[i]));
    const double variance = by_parameter * view_.covariance * by_parameter.transpose();
    return std::sqrt(std::max(0.0, variance));
}

}  // namespace vyn
