#include "resect/start.h"

#include <algorithm>
#include <cmath>

#include <Eigen/Dense>

namespace vyn {

namespace {

using Eigen::Matrix3d;
using Eigen::MatrixXd;
using Eigen::Vector2d;
using Eigen::Vector3d;
using Eigen::VectorXd;

/// Ideal position on the plane z = 1 of the camera frame.
Vector2d normalised(const PinholeCamera& camera, Point raw) {
    const Point ideal = ideal_position(camera.lens, raw);
    return {(ideal.x - camera.lens.cx) / camera.fx, (ideal.y - camera.lens.cy) / camera.fy};
}

bool all_in_front(const Pose& pose, const std::vector<DotPair>& pairs) {
    return std::ranges::all_of(
        pairs, [&](const DotPair& pair) { return pose.in_camera(pair.place).z() > 0; });
}

std::vector<Pose> those_in_front(std::vector<Pose> poses, const std::vector<DotPair>& pairs) {
    std::erase_if(poses, [&](const Pose& pose) {
        return !pose.rotation.allFinite() || !pose.shift.allFinite() || !all_in_front(pose, pairs);
    });
    return poses;
}

/// The right singular vector of the smallest singular value.
VectorXd null_vector(const MatrixXd& matrix) {
    const Eigen::JacobiSVD<MatrixXd> svd(matrix, Eigen::ComputeFullV);
    return svd.matrixV().col(matrix.cols() - 1);
}

/// Moves points to their middle and scales them to the mean distance sqrt(2).
Matrix3d hartley(const std::vector<Vector2d>& points) {
    Vector2d middle = Vector2d::Zero();
    for (const Vector2d& p : points)
        middle += p / double(points.size());
    double distance = 0;
    for (const Vector2d& p : points)
        distance += (p - middle).norm() / double(points.size());
    const double scale = distance > 0 ? std::sqrt(2.0) / distance : 1;
    Matrix3d matrix;
    matrix << scale, 0, -scale * middle.x(), 0, scale, -scale * middle.y(), 0, 0, 1;
    return matrix;
}

std::vector<Vector2d> image_points(const PinholeCamera& camera, const std::vector<DotPair>& pairs) {
    std::vector<Vector2d> points;
    for (const DotPair& pair : pairs)
        points.push_back(normalised(camera, pair.pixel));
    return points;
}

}  // namespace

Spread spread_of(const std::vector<DotPair>& pairs) {
    Spread spread;
    for (const DotPair& pair : pairs)
        spread.middle += pair.place / double(pairs.size());
    Matrix3d covariance = Matrix3d::Zero();
    for (const DotPair& pair : pairs) {
        const Vector3d d = pair.place - spread.middle;
        covariance += d * d.transpose() / double(pairs.size());
    }
    const Eigen::SelfAdjointEigenSolver<Matrix3d> solver(covariance);
    spread.eigenvalues = solver.eigenvalues().reverse().cwiseMax(0);
    spread.axes = solver.eigenvectors().rowwise().reverse();
    if (spread.axes.determinant() < 0) spread.axes.col(2) = -spread.axes.col(2);
    return spread;
}

Vector3d ray_of(const PinholeCamera& camera, Point raw) {
    return normalised(camera, raw).homogeneous().normalized();
}

Pose mirrored_pose(const Pose& pose, const Spread& spread) {
    const Vector3d middle = pose.in_camera(spread.middle);
    const Vector3d sight = middle.normalized();
    Matrix3d turned = pose.rotation * spread.axes;
    for (int i = 0; i < 2; ++i)
        turned.col(i) -= 2 * sight.dot(turned.col(i)) * sight;
    turned.col(2) = turned.col(0).cross(turned.col(1));
    Pose other;
    other.rotation = nearest_rotation(turned * spread.axes.transpose());
    other.shift = middle - other.rotation * spread.middle;
    return other;
}

std::vector<Pose> direct_linear_poses(const PinholeCamera& camera,
                                      const std::vector<DotPair>& pairs) {
    if (pairs.size() < 6) return {};
    const Spread spread = spread_of(pairs);
    if (spread.in_line() || spread.in_plane()) return {};
    const double scale = 1 / std::sqrt(spread.eigenvalues.sum() / 3);
    const auto points = image_points(camera, pairs);
    const Matrix3d to_unit = hartley(points);
    MatrixXd rows = MatrixXd::Zero(2 * static_cast<Eigen::Index>(pairs.size()), 12);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const Eigen::Vector4d place =
            (scale * (pairs[i].place - spread.middle)).eval().homogeneous();
        const Vector3d image = to_unit * points[i].homogeneous();
        const auto row = 2 * static_cast<Eigen::Index>(i);
        rows.block<1, 4>(row, 0) = place.transpose();
        rows.block<1, 4>(row, 8) = -image.x() * place.transpose();
        rows.block<1, 4>(row + 1, 4) = place.transpose();
        rows.block<1, 4>(row + 1, 8) = -image.y() * place.transpose();
    }
    const VectorXd solution = null_vector(rows);
    Eigen::Matrix<double, 3, 4> projection;
    for (int r = 0; r < 3; ++r)
        projection.row(r) = solution.segment<4>(4 * r).transpose();
    projection = to_unit.inverse() * projection;
    if (projection.leftCols<3>().determinant() < 0) projection = -projection;
    const double size = std::cbrt(projection.leftCols<3>().determinant());
    Pose pose;
    pose.rotation = nearest_rotation(projection.leftCols<3>());
    pose.shift = projection.col(3) / (size * scale) - pose.rotation * spread.middle;
    return those_in_front({pose}, pairs);
}

std::vector<Pose> plane_poses(const PinholeCamera& camera, const std::vector<DotPair>& pairs) {
    if (pairs.size() < 4) return {};
    const Spread spread = spread_of(pairs);
    if (spread.in_line()) return {};
    const double scale = 1 / std::sqrt(spread.eigenvalues.sum() / 2);
    const auto points = image_points(camera, pairs);
    const Matrix3d to_unit = hartley(points);
    MatrixXd rows = MatrixXd::Zero(2 * static_cast<Eigen::Index>(pairs.size()), 9);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const Vector3d in_plane = spread.axes.transpose() * (pairs[i].place - spread.middle);
        const Vector3d place(scale * in_plane.x(), scale * in_plane.y(), 1);
        const Vector3d image = to_unit * points[i].homogeneous();
        const auto row = 2 * static_cast<Eigen::Index>(i);
        rows.block<1, 3>(row, 0) = place.transpose();
        rows.block<1, 3>(row, 6) = -image.x() * place.transpose();
        rows.block<1, 3>(row + 1, 3) = place.transpose();
        rows.block<1, 3>(row + 1, 6) = -image.y() * place.transpose();
    }
    const VectorXd solution = null_vector(rows);
    Matrix3d homography;
    for (int r = 0; r < 3; ++r)
        homography.row(r) = solution.segment<3>(3 * r).transpose();
    homography = to_unit.inverse() * homography;
    if (homography(2, 2) < 0) homography = -homography;
    const double size = (homography.col(0).norm() + homography.col(1).norm()) / 2;
    if (!(size > 0)) return {};
    homography /= size;
    Matrix3d turned;
    turned << homography.col(0), homography.col(1), homography.col(0).cross(homography.col(1));
    Pose pose;
    pose.rotation = nearest_rotation(nearest_rotation(turned) * spread.axes.transpose());
    pose.shift = homography.col(2) / scale - pose.rotation * spread.middle;
    return those_in_front({pose, mirrored_pose(pose, spread)}, pairs);
}

std::vector<Pose> two_stage_poses(const PinholeCamera& camera, const std::vector<DotPair>& pairs) {
    if (pairs.size() < 7) return {};
    const Spread spread = spread_of(pairs);
    if (spread.in_line() || spread.in_plane()) return {};
    const double scale = 1 / std::sqrt(spread.eigenvalues.sum() / 3);
    const auto count = static_cast<Eigen::Index>(pairs.size());
    // y (r1.X + tx) = x (r2.X + ty), up to a common factor.
    const auto points = image_points(camera, pairs);
    MatrixXd rows(count, 8);
    for (Eigen::Index i = 0; i < count; ++i) {
        const auto& pair = pairs[static_cast<std::size_t>(i)];
        const Vector2d image = points[static_cast<std::size_t>(i)];
        const Eigen::Vector4d place = (scale * (pair.place - spread.middle)).eval().homogeneous();
        rows.row(i) << image.y() * place.transpose(), -image.x() * place.transpose();
    }
    VectorXd solution = null_vector(rows);
    const double size = (solution.segment<3>(0).norm() + solution.segment<3>(4).norm()) / 2;
    if (!(size > 0)) return {};
    solution /= size;
    double agreement = 0;  // dots lie on the side on which their markers are
    for (Eigen::Index i = 0; i < count; ++i) {
        const auto& pair = pairs[static_cast<std::size_t>(i)];
        const Eigen::Vector4d place = (scale * (pair.place - spread.middle)).eval().homogeneous();
        agreement += points[static_cast<std::size_t>(i)].dot(
            Vector2d(solution.segment<4>(0).dot(place), solution.segment<4>(4).dot(place)));
    }
    if (agreement < 0) solution = -solution;
    Matrix3d turned;
    turned.row(0) = solution.segment<3>(0).transpose();
    turned.row(1) = solution.segment<3>(4).transpose();
    turned.row(2) = turned.row(0).cross(turned.row(1));
    Pose pose;
    pose.rotation = nearest_rotation(turned);
    // Second stage: focus factor k and distance tz from k X = x (r3.X + tz), linear in both.
    MatrixXd distance(2 * count, 2);
    VectorXd wanted(2 * count);
    const Vector2d across(solution[3], solution[7]);
    for (Eigen::Index i = 0; i < count; ++i) {
        const auto& pair = pairs[static_cast<std::size_t>(i)];
        const Vector3d place = pose.rotation * (scale * (pair.place - spread.middle));
        for (int axis = 0; axis < 2; ++axis) {
            const double image = points[static_cast<std::size_t>(i)][axis];
            distance.row(2 * i + axis) << place[axis] + across[axis], -image;
            wanted[2 * i + axis] = image * place.z();
        }
    }
    const Vector2d found = distance.colPivHouseholderQr().solve(wanted);
    const double factor = found[0] > 0 ? found[0] : 1;
    // The focus is held at the record's value: the distance takes up the factor.
    Vector3d shift(across.x(), across.y(), found[1] / factor);
    pose.shift = shift / scale - pose.rotation * spread.middle;
    return those_in_front({pose}, pairs);
}

namespace {

/// Real roots of a quartic by Newton's polish of the eigenvalues of its companion matrix.
std::vector<double> real_roots(const std::array<double, 5>& c) {
    if (!(std::abs(c[4]) > 0)) return {};
    Eigen::Matrix4d companion = Eigen::Matrix4d::Zero();
    for (int i = 0; i < 4; ++i) {
        companion(i, 3) = -c[static_cast<std::size_t>(i)] / c[4];
        if (i > 0) companion(i, i - 1) = 1;
    }
    if (!companion.allFinite()) return {};
    const Eigen::EigenSolver<Eigen::Matrix4d> solver(companion, false);
    std::vector<double> roots;
    for (int i = 0; i < 4; ++i) {
        const auto root = solver.eigenvalues()[i];
        if (std::abs(root.imag()) > 1e-4 * (1 + std::abs(root.real()))) continue;
        double x = root.real();
        for (int step = 0; step < 3; ++step) {
            const double value = (((c[4] * x + c[3]) * x + c[2]) * x + c[1]) * x + c[0];
            const double slope = ((4 * c[4] * x + 3 * c[3]) * x + 2 * c[2]) * x + c[1];
            if (slope == 0) break;
            x -= value / slope;
        }
        roots.push_back(x);
    }
    return roots;
}

/// Axes of a triangle: along its first side, in its plane, across.
Matrix3d frame_of(const std::array<Vector3d, 3>& p) {
    Matrix3d frame;
    frame.col(0) = (p[1] - p[0]).normalized();
    frame.col(2) = frame.col(0).cross(p[2] - p[0]).normalized();
    frame.col(1) = frame.col(2).cross(frame.col(0));
    return frame;
}

}  // namespace

std::vector<Pose> three_point_poses(const std::array<Vector3d, 3>& places,
                                    const std::array<Vector3d, 3>& rays) {
    const double a2 = (places[1] - places[2]).squaredNorm();
    const double b2 = (places[0] - places[2]).squaredNorm();
    const double c2 = (places[0] - places[1]).squaredNorm();
    if (!(b2 > 0) ||
        !((places[1] - places[0]).cross(places[2] - places[0]).squaredNorm() > 1e-8 * b2 * c2))
        return {};
    const double ca = rays[1].dot(rays[2]);
    const double cb = rays[0].dot(rays[2]);
    const double cg = rays[0].dot(rays[1]);
    const double d = (a2 - c2) / b2;
    const double s = (a2 + c2) / b2;
    const std::array<double, 5> quartic{
        (1 + d) * (1 + d) - 4 * a2 / b2 * cg * cg,
        4 * (-d * (1 + d) * cb + 2 * a2 / b2 * cg * cg * cb - (1 - s) * ca * cg),
        2 * (d * d - 1 + 2 * d * d * cb * cb + 2 * (b2 - c2) / b2 * ca * ca - 4 * s * ca * cb * cg +
             2 * (b2 - a2) / b2 * cg * cg),
        4 * (d * (1 - d) * cb - (1 - s) * ca * cg + 2 * c2 / b2 * ca * ca * cb),
        (d - 1) * (d - 1) - 4 * c2 / b2 * ca * ca};
    std::vector<Pose> poses;
    for (const double v : real_roots(quartic)) {
        const double divisor = 2 * (cg - v * ca);
        if (!(v > 0) || divisor == 0) continue;
        const double u = ((d - 1) * v * v - 2 * d * cb * v + 1 + d) / divisor;
        const double s1 = std::sqrt(b2 / (1 + v * v - 2 * v * cb));
        if (!(u > 0) || !std::isfinite(s1)) continue;
        const std::array<Vector3d, 3> seen{s1 * rays[0], u * s1 * rays[1], v * s1 * rays[2]};
        Pose pose;
        pose.rotation = frame_of(seen) * frame_of(places).transpose();
        pose.shift = seen[0] - pose.rotation * places[0];
        if (pose.rotation.allFinite() && pose.shift.allFinite()) poses.push_back(pose);
    }
    return poses;
}

}  // namespace vyn
