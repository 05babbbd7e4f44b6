#include "resect/camera_model.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <Eigen/Geometry>
#include <Eigen/SVD>

namespace vyn {

namespace {

/// f: the ideal radius is r / f. It grows with r while 1 - a2 r^2 - 3 a4 r^4 is positive.
double divisor_at(const Distortion& lens, double r2) {
    return 1 + (lens.a2 + lens.a4 * r2) * r2;
}

/// The smallest positive q with 1 + b q + c q^2 = 0; infinite when there is none.
double smallest_root(double b, double c) {
    const double discriminant = b * b - 4 * c;
    const double divisor = -b + std::sqrt(std::max(discriminant, 0.0));
    if (discriminant < 0 || divisor <= 0) return std::numeric_limits<double>::infinity();
    return 2 / divisor;
}

/// The raw radius below the fold: where r - u f(r) first rises to 0. Newton's steps, halved into
/// the bracket where they leave it.
std::optional<double> raw_radius(const Distortion& lens, double ideal) {
    const auto miss = [&](double r) { return r - ideal * divisor_at(lens, r * r); };
    // Up to the fold, or to where the ideal radius becomes infinite, whatever comes first: a lens
    // with distortion has one of them.
    const double fold = std::sqrt(smallest_root(-lens.a2, -3 * lens.a4));
    double high = std::min(fold, std::sqrt(smallest_root(lens.a2, lens.a4)));
    if (!(miss(high) >= 0)) return std::nullopt;
    double low = 0;
    double r = std::min(ideal, high);
    for (int i = 0; i < 200; ++i) {
        const double at = miss(r);
        (at < 0 ? low : high) = r;
        double next = r - at / (1 - ideal * r * (2 * lens.a2 + 4 * lens.a4 * r * r));
        if (!(next > low && next < high)) next = (low + high) / 2;
        const double step = std::abs(next - r);
        r = next;
        if (step <= 1e-14 * r) break;
    }
    return r;
}

}  // namespace

std::optional<Point> raw_from_ideal(const Distortion& lens, Point ideal) {
    const double dx = ideal.x - lens.cx;
    const double dy = ideal.y - lens.cy;
    const double wanted = std::sqrt(dx * dx + dy * dy);
    if (!std::isfinite(wanted)) return std::nullopt;
    if (lens.none() || wanted == 0) return ideal;
    const auto radius = raw_radius(lens, wanted);
    if (!radius) return std::nullopt;
    return Point{lens.cx + dx * *radius / wanted, lens.cy + dy * *radius / wanted};
}

std::optional<Point> ideal_pixel(const PinholeCamera& camera, const Eigen::Vector3d& in_camera) {
    if (!(in_camera.z() > 0)) return std::nullopt;
    return Point{camera.lens.cx + camera.fx * in_camera.x() / in_camera.z(),
                 camera.lens.cy + camera.fy * in_camera.y() / in_camera.z()};
}

std::optional<Point> raw_pixel(const PinholeCamera& camera, const Eigen::Vector3d& in_camera) {
    const auto ideal = ideal_pixel(camera, in_camera);
    return ideal ? raw_from_ideal(camera.lens, *ideal) : std::nullopt;
}

// With D = f U, q = |D|^2, f = 1 + a2 q + a4 q^2 the raw offset D follows from
//   dD = f dU + U df,   df = (a2 + 2 a4 q) 2 D dD + q da2 + q^2 da4,
// solved for dD by the matrix M = I - U g D^T, g = 2 (a2 + 2 a4 q).
std::optional<RawProjection> raw_projection(const PinholeCamera& camera,
                                            const Eigen::Vector3d& in_camera) {
    const auto ideal = ideal_pixel(camera, in_camera);
    if (!ideal) return std::nullopt;
    const Distortion& lens = camera.lens;
    const auto raw = raw_from_ideal(lens, *ideal);
    if (!raw) return std::nullopt;
    const Eigen::Vector2d u(ideal->x - lens.cx, ideal->y - lens.cy);
    const Eigen::Vector2d d(raw->x - lens.cx, raw->y - lens.cy);
    const double q = d.squaredNorm();
    const double f = 1 + (lens.a2 + lens.a4 * q) * q;
    const double g = 2 * (lens.a2 + 2 * lens.a4 * q);
    // Sherman and Morrison: (I - g u d^T)^-1 = I + g u d^T / (1 - g u.d).
    const Eigen::Matrix2d solve =
        Eigen::Matrix2d::Identity() + (g / (1 - g * u.dot(d))) * u * d.transpose();
    const double z = in_camera.z();
    Eigen::Matrix<double, 2, 3> ideal_by_place;
    ideal_by_place << camera.fx / z, 0, -u.x() / z, 0, camera.fy / z, -u.y() / z;

    RawProjection result;
    result.pixel = *raw;
    result.by_place = f * solve * ideal_by_place;
    result.by_intrinsic.col(0) = f * solve * u;
    result.by_intrinsic.col(1) = Eigen::Vector2d(1, 0);
    result.by_intrinsic.col(2) = Eigen::Vector2d(0, 1);
    result.by_intrinsic.col(3) = solve * (q * u);
    result.by_intrinsic.col(4) = solve * (q * q * u);
    return result;
}

Eigen::Matrix3d rotation_of(const Eigen::Vector3d& vector) {
    const double angle = vector.norm();
    if (angle == 0) return Eigen::Matrix3d::Identity();
    return Eigen::AngleAxisd(angle, vector / angle).toRotationMatrix();
}

Eigen::Vector3d vector_of(const Eigen::Matrix3d& rotation) {
    const Eigen::AngleAxisd turn(rotation);
    return turn.angle() * turn.axis();
}

Eigen::Matrix3d nearest_rotation(const Eigen::Matrix3d& matrix) {
    const Eigen::JacobiSVD<Eigen::Matrix3d> svd(matrix, Eigen::ComputeFullU | Eigen::ComputeFullV);
    Eigen::Matrix3d u = svd.matrixU();
    if ((u * svd.matrixV().transpose()).determinant() < 0) u.col(2) = -u.col(2);
    return u * svd.matrixV().transpose();
}

}  // namespace vyn
