#include "projection/view_geometry.h"

#include <Eigen/Dense>

namespace vyn {

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
