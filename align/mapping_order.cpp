#include "align/mapping_order.h"

#include <algorithm>
#include <cmath>

#include <Eigen/QR>

namespace vyn {

namespace {

/// A marker with less than this share of its own residual alone holds a coefficient.
constexpr double min_freedom = 1e-6;

/// Monomials up to the order, in coordinates of about +-1.
Eigen::MatrixXd design(std::span<const MarkerPair> pairs, int order) {
    Point mean;
    double scale = 1e-9;
    for (const MarkerPair& pair : pairs) {
        mean.x += pair.reference.x / static_cast<double>(pairs.size());
        mean.y += pair.reference.y / static_cast<double>(pairs.size());
    }
    for (const MarkerPair& pair : pairs)
        scale = std::max(
            {scale, std::abs(pair.reference.x - mean.x), std::abs(pair.reference.y - mean.y)});
    Eigen::MatrixXd matrix(static_cast<Eigen::Index>(pairs.size()), (order + 1) * (order + 2) / 2);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double u = (pairs[i].reference.x - mean.x) / scale;
        const double v = (pairs[i].reference.y - mean.y) / scale;
        Eigen::Index column = 0;
        for (int a = 0; a <= order; ++a)
            for (int b = 0; a + b <= order; ++b)
                matrix(static_cast<Eigen::Index>(i), column++) = std::pow(u, a) * std::pow(v, b);
    }
    return matrix;
}

std::optional<double> leave_one_out_error(std::span<const MarkerPair> pairs, int order) {
    const Eigen::MatrixXd terms = design(pairs, order);
    if (terms.rows() <= terms.cols()) return std::nullopt;
    Eigen::MatrixXd motion(terms.rows(), 2);
    for (std::size_t i = 0; i < pairs.size(); ++i)
        motion.row(static_cast<Eigen::Index>(i)) << pairs[i].moved.x - pairs[i].reference.x,
            pairs[i].moved.y - pairs[i].reference.y;
    const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> solver(terms);
    if (solver.rank() < terms.cols()) return std::nullopt;
    const Eigen::MatrixXd basis =
        solver.householderQ() * Eigen::MatrixXd::Identity(terms.rows(), terms.cols());
    const Eigen::MatrixXd residuals = motion - basis * (basis.transpose() * motion);
    double squares = 0;
    for (Eigen::Index i = 0; i < terms.rows(); ++i) {
        const double freedom = 1 - basis.row(i).squaredNorm();
        if (!(freedom > min_freedom)) return std::nullopt;
        squares += residuals.row(i).squaredNorm() / (freedom * freedom);
    }
    return std::sqrt(squares / static_cast<double>(terms.rows()));
}

}  // namespace

OrderErrors leave_one_out_errors(std::span<const MarkerPair> pairs) {
    OrderErrors errors;
    for (int order = 0; order < static_cast<int>(errors.leave_one_out.size()); ++order) {
        std::optional<double>& error = errors.leave_one_out[static_cast<std::size_t>(order)];
        error = leave_one_out_error(pairs, order);
        const auto best = errors.suggested
                              ? errors.leave_one_out[static_cast<std::size_t>(*errors.suggested)]
                              : std::nullopt;
        if (error && (!best || *error < *best)) errors.suggested = order;
    }
    return errors;
}

}  // namespace vyn
