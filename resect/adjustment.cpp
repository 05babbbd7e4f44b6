#include "resect/adjustment.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include <Eigen/Dense>

#include "core/errors.h"

namespace vyn {

namespace {

using Eigen::Index;
using Eigen::Matrix3d;
using Eigen::MatrixXd;
using Eigen::Vector2d;
using Eigen::Vector3d;
using Eigen::VectorXd;

Matrix3d cross_matrix(const Vector3d& v) {
    Matrix3d m;
    m << 0, -v.z(), v.y(), v.z(), 0, -v.x(), -v.y(), v.x(), 0;
    return m;
}

/// The loss of a residual of that length in sigmas, and the weight of its square.
struct Loss {
    double value;
    double weight;
};

Loss loss_of(RobustLoss kind, double width, double length) {
    if (kind == RobustLoss::none || (kind == RobustLoss::huber && length <= width))
        return {length * length, 1};
    if (kind == RobustLoss::huber) return {2 * width * length - width * width, width / length};
    // Tukey's biweight with the same curvature at 0; 4.685 is its usual width in sigmas.
    const double c = 4.685 * width;
    const double inside = std::max(0.0, 1 - (length / c) * (length / c));
    return {c * c / 3 * (1 - inside * inside * inside), inside * inside};
}

/// The state of an adjustment: parameters in the form in which steps are taken.
struct State {
    std::vector<PinholeCamera> cameras;
    std::vector<Pose> about_middle;  ///< Xc = R (X - middle) + shift
    std::vector<Vector3d> markers;   ///< corrections by slot
};

class Solver {
  public:
    Solver(Adjustment& problem, const Progress& progress) : problem_(problem), progress_(progress) {
        for (const AdjustView& view : problem.views)
            for (const DotPair& pair : view.pairs)
                highest_ = std::max(highest_, pair.marker);
        slot_.assign(static_cast<std::size_t>(highest_ + 1), -1);
        std::size_t pairs = 0;
        for (const AdjustView& view : problem.views)
            for (const DotPair& pair : view.pairs) {
                middle_ += pair.place;
                ++pairs;
                int& slot = slot_[static_cast<std::size_t>(pair.marker)];
                if (moving() && slot < 0) slot = slots_++;
            }
        if (pairs > 0) middle_ /= double(pairs);
        observations_ = 2 * static_cast<Index>(pairs);
        index_parameters();
        for (const AdjustCamera& camera : problem.cameras)
            state_.cameras.push_back(camera.camera);
        for (const AdjustView& view : problem.views)
            state_.about_middle.push_back({view.pose.rotation, view.pose.in_camera(middle_)});
        state_.markers.assign(static_cast<std::size_t>(slots_), Vector3d::Zero());
    }

    AdjustmentReport run() {
        std::optional<double> cost = cost_of(state_);
        if (!cost)
            throw AlgoError("Algorithm error!", "a start has markers that the camera cannot see");
        double damping = 1e-4;
        int iteration = 0;
        for (bool done = false; iteration < 200 && !done; ++iteration) {
            throw_if_aborted(progress_);
            build();
            done = true;  // unless a step helps
            for (int attempt = 0; attempt < 12; ++attempt, damping *= 8) {
                const auto step = solve(damping);
                if (!step) continue;
                if (promised_by(*step) <= 1e-14 * *cost) break;
                State next = moved(*step);
                const auto next_cost = cost_of(next);
                if (!next_cost || !(*next_cost <= *cost)) continue;
                done = *cost - *next_cost <= 1e-12 * *cost && attempt == 0;
                state_ = std::move(next);
                cost = next_cost;
                damping = std::max(damping / 10, 1e-12);
                break;
            }
        }
        build();
        AdjustmentReport report;
        report.iterations = iteration;
        report.cost = *cost;
        finish(report);
        put_back();
        return report;
    }

  private:
    bool moving() const { return problem_.marker_sigma > 0; }

    void index_parameters() {
        parameters_ = 6 * static_cast<Index>(problem_.views.size());
        for (const AdjustCamera& camera : problem_.cameras) {
            auto& numbers = intrinsic_.emplace_back();
            for (std::size_t i = 0; i < intrinsic_count; ++i)
                numbers[i] = camera.free[i] ? parameters_++ : -1;
        }
    }

    Vector3d place_of(const State& state, const DotPair& pair) const {
        const int slot = slot_[static_cast<std::size_t>(pair.marker)];
        return slot < 0 ? pair.place : pair.place + state.markers[static_cast<std::size_t>(slot)];
    }

    std::optional<double> cost_of(const State& state) const {
        double cost = 0;
        for (std::size_t v = 0; v < problem_.views.size(); ++v) {
            const AdjustView& view = problem_.views[v];
            const Pose& pose = state.about_middle[v];
            const auto& camera = state.cameras[static_cast<std::size_t>(view.camera)];
            for (const DotPair& pair : view.pairs) {
                const auto pixel =
                    raw_pixel(camera, pose.in_camera(place_of(state, pair) - middle_));
                if (!pixel) return std::nullopt;
                const double length =
                    std::hypot(pair.pixel.x - pixel->x, pair.pixel.y - pixel->y) / pair.sigma;
                cost += loss_of(problem_.loss, problem_.loss_width / pair.sigma, length).value;
            }
        }
        for (const Vector3d& correction : state.markers)
            cost += correction.squaredNorm() / (problem_.marker_sigma * problem_.marker_sigma);
        return std::isfinite(cost) ? std::optional(cost) : std::nullopt;
    }

    /// One pair's derivatives by the parameters that it knows, in pixels.
    struct Row {
        Vector2d residual;
        Eigen::Matrix<double, 2, 6> by_pose;
        Eigen::Matrix<double, 2, intrinsic_count> by_intrinsic;
        Eigen::Matrix<double, 2, 3> by_marker;
        double weight = 0;  ///< of the squared residual: robust, over sigma squared
    };

    Row row_of(const AdjustView& view, const Pose& pose, const DotPair& pair) const {
        const Vector3d turned = pose.rotation * (place_of(state_, pair) - middle_);
        const auto projected = raw_projection(state_.cameras[static_cast<std::size_t>(view.camera)],
                                              turned + pose.shift);
        Row row;
        row.residual = {pair.pixel.x - projected->pixel.x, pair.pixel.y - projected->pixel.y};
        row.by_pose.leftCols<3>() = -projected->by_place * cross_matrix(turned);
        row.by_pose.rightCols<3>() = projected->by_place;
        row.by_intrinsic = projected->by_intrinsic;
        row.by_marker = projected->by_place * pose.rotation;
        const double length = row.residual.norm() / pair.sigma;
        row.weight = loss_of(problem_.loss, problem_.loss_width / pair.sigma, length).weight /
                     (pair.sigma * pair.sigma);
        return row;
    }

    /// The full derivative of a pair by the parameters, for few things only.
    MatrixXd spread_out(const AdjustView& view, std::size_t v, const Row& row) const {
        MatrixXd full = MatrixXd::Zero(2, parameters_);
        full.middleCols<6>(6 * static_cast<Index>(v)) = row.by_pose;
        const auto& numbers = intrinsic_[static_cast<std::size_t>(view.camera)];
        for (std::size_t i = 0; i < intrinsic_count; ++i)
            if (numbers[i] >= 0) full.col(numbers[i]) = row.by_intrinsic.col(static_cast<Index>(i));
        return full;
    }

    void build() {
        normal_ = MatrixXd::Zero(parameters_, parameters_);
        gradient_ = VectorXd::Zero(parameters_);
        marker_normal_.assign(static_cast<std::size_t>(slots_), Matrix3d::Zero());
        marker_gradient_.assign(static_cast<std::size_t>(slots_), Vector3d::Zero());
        mixed_.assign(static_cast<std::size_t>(slots_), MatrixXd::Zero(parameters_, 3));
        for (std::size_t v = 0; v < problem_.views.size(); ++v)
            for (const DotPair& pair : problem_.views[v].pairs)
                add(v, pair, row_of(problem_.views[v], state_.about_middle[v], pair));
        const double prior = moving() ? 1 / (problem_.marker_sigma * problem_.marker_sigma) : 0;
        for (std::size_t m = 0; m < marker_normal_.size(); ++m) {
            marker_normal_[m] += prior * Matrix3d::Identity();
            marker_gradient_[m] -= prior * state_.markers[m];
        }
    }

    void add(std::size_t v, const DotPair& pair, const Row& row) {
        const AdjustView& view = problem_.views[v];
        const Index pose = 6 * static_cast<Index>(v);
        const auto& numbers = intrinsic_[static_cast<std::size_t>(view.camera)];
        normal_.block<6, 6>(pose, pose) += row.weight * row.by_pose.transpose() * row.by_pose;
        gradient_.segment<6>(pose) += row.weight * row.by_pose.transpose() * row.residual;
        for (std::size_t i = 0; i < intrinsic_count; ++i) {
            if (numbers[i] < 0) continue;
            const Vector2d column = row.weight * row.by_intrinsic.col(static_cast<Index>(i));
            const Eigen::Matrix<double, 6, 1> with_pose = row.by_pose.transpose() * column;
            normal_.block<6, 1>(pose, numbers[i]) += with_pose;
            normal_.block<1, 6>(numbers[i], pose) += with_pose.transpose();
            gradient_[numbers[i]] += column.dot(row.residual);
            for (std::size_t j = 0; j < intrinsic_count; ++j)
                if (numbers[j] >= 0)
                    normal_(numbers[i], numbers[j]) +=
                        column.dot(row.by_intrinsic.col(static_cast<Index>(j)));
        }
        const int slot = slot_[static_cast<std::size_t>(pair.marker)];
        if (slot < 0) return;
        const auto m = static_cast<std::size_t>(slot);
        marker_normal_[m] += row.weight * row.by_marker.transpose() * row.by_marker;
        marker_gradient_[m] += row.weight * row.by_marker.transpose() * row.residual;
        mixed_[m] += row.weight * spread_out(view, v, row).transpose() * row.by_marker;
    }

    /// The normal matrix without the markers, and its right side.
    std::pair<MatrixXd, VectorXd> reduced(double damping) const {
        MatrixXd matrix = normal_;
        VectorXd right = gradient_;
        for (std::size_t m = 0; m < marker_normal_.size(); ++m) {
            Matrix3d own = marker_normal_[m];
            own.diagonal() *= 1 + damping;
            const MatrixXd solved = own.ldlt().solve(mixed_[m].transpose()).transpose();
            matrix -= solved * mixed_[m].transpose();
            right -= solved * marker_gradient_[m];
        }
        return {matrix, right};
    }

    struct Step {
        VectorXd parameters;
        std::vector<Vector3d> markers;
    };

    std::optional<Step> solve(double damping) const {
        auto [matrix, right] = reduced(damping);
        const VectorXd scale = normal_.diagonal().cwiseSqrt();
        if (!(scale.minCoeff() > 0)) return std::nullopt;
        matrix = scale.cwiseInverse().asDiagonal() * matrix * scale.cwiseInverse().asDiagonal();
        matrix.diagonal().array() += damping;
        const Eigen::LDLT<MatrixXd> factors(matrix);
        if (factors.info() != Eigen::Success || !factors.isPositive()) return std::nullopt;
        Step step;
        step.parameters = factors.solve(right.cwiseQuotient(scale)).cwiseQuotient(scale);
        if (!step.parameters.allFinite()) return std::nullopt;
        for (std::size_t m = 0; m < marker_normal_.size(); ++m) {
            Matrix3d own = marker_normal_[m];
            own.diagonal() *= 1 + damping;
            step.markers.push_back(
                own.ldlt().solve(marker_gradient_[m] - mixed_[m].transpose() * step.parameters));
        }
        return step;
    }

    /// How much the linear model says that a step lowers the sum.
    double promised_by(const Step& step) const {
        double promised = gradient_.dot(step.parameters);
        for (std::size_t m = 0; m < step.markers.size(); ++m)
            promised += marker_gradient_[m].dot(step.markers[m]);
        return promised;
    }

    State moved(const Step& step) const {
        State next = state_;
        for (std::size_t v = 0; v < next.about_middle.size(); ++v) {
            const Index at = 6 * static_cast<Index>(v);
            Pose& pose = next.about_middle[v];
            pose.rotation = rotation_of(step.parameters.segment<3>(at)) * pose.rotation;
            pose.shift += step.parameters.segment<3>(at + 3);
        }
        for (std::size_t c = 0; c < next.cameras.size(); ++c) {
            const auto change = [&](Intrinsic which) {
                const Index number = intrinsic_[c][static_cast<std::size_t>(which)];
                return number < 0 ? 0.0 : step.parameters[number];
            };
            PinholeCamera& camera = next.cameras[c];
            const double factor = std::exp(change(Intrinsic::focus));
            camera.fx *= factor;
            camera.fy *= factor;
            camera.lens.cx += change(Intrinsic::cx);
            camera.lens.cy += change(Intrinsic::cy);
            camera.lens.a2 += change(Intrinsic::a2);
            camera.lens.a4 += change(Intrinsic::a4);
        }
        for (std::size_t m = 0; m < next.markers.size(); ++m)
            next.markers[m] += step.markers[m];
        return next;
    }

    void finish(AdjustmentReport& report) const {
        const MatrixXd matrix = reduced(0).first;
        const VectorXd scale = matrix.diagonal().cwiseMax(1e-300).cwiseSqrt();
        const MatrixXd unit =
            scale.cwiseInverse().asDiagonal() * matrix * scale.cwiseInverse().asDiagonal();
        const Eigen::SelfAdjointEigenSolver<MatrixXd> eigen(unit);
        const double lowest = eigen.eigenvalues().minCoeff();
        report.condition = lowest > 0 ? eigen.eigenvalues().maxCoeff() / lowest
                                      : std::numeric_limits<double>::infinity();
        MatrixXd inverse = eigen.eigenvectors() *
                           eigen.eigenvalues().cwiseMax(1e-300).cwiseInverse().asDiagonal() *
                           eigen.eigenvectors().transpose();
        for (Index i = 0; i < parameters_; ++i)
            for (Index j = 0; j < i; ++j)
                report.strongest_correlation =
                    std::max(report.strongest_correlation,
                             std::abs(inverse(i, j)) / std::sqrt(inverse(i, i) * inverse(j, j)));
        inverse = scale.cwiseInverse().asDiagonal() * inverse * scale.cwiseInverse().asDiagonal();

        double sum = 0;
        for (std::size_t v = 0; v < problem_.views.size(); ++v) {
            auto& residuals = report.residuals.emplace_back();
            for (const DotPair& pair : problem_.views[v].pairs) {
                const Row row = row_of(problem_.views[v], state_.about_middle[v], pair);
                const MatrixXd full = spread_out(problem_.views[v], v, row);
                sum += row.weight * row.residual.squaredNorm();
                residuals.push_back({row.residual.x(), row.residual.y(),
                                     row.weight * full * inverse * full.transpose()});
            }
        }
        for (const Vector3d& correction : state_.markers)
            sum += correction.squaredNorm() / (problem_.marker_sigma * problem_.marker_sigma);
        const Index freedom = observations_ - parameters_;
        report.scatter = freedom > 0 ? std::sqrt(sum / double(freedom)) : 1;
        report.covariance = report.scatter * report.scatter * inverse;
        // From rotation about the middle to that about the model's origin: the shift takes part.
        MatrixXd change = MatrixXd::Identity(parameters_, parameters_);
        for (std::size_t v = 0; v < state_.about_middle.size(); ++v)
            change.block<3, 3>(6 * static_cast<Index>(v) + 3, 6 * static_cast<Index>(v)) =
                cross_matrix(state_.about_middle[v].rotation * middle_);
        report.covariance = change * report.covariance * change.transpose();
        if (!moving()) return;
        report.corrections.assign(static_cast<std::size_t>(highest_ + 1), Vector3d::Zero());
        for (std::size_t i = 0; i < slot_.size(); ++i)
            if (slot_[i] >= 0)
                report.corrections[i] = state_.markers[static_cast<std::size_t>(slot_[i])];
    }

    void put_back() {
        for (std::size_t c = 0; c < problem_.cameras.size(); ++c)
            problem_.cameras[c].camera = state_.cameras[c];
        for (std::size_t v = 0; v < problem_.views.size(); ++v) {
            const Pose& pose = state_.about_middle[v];
            problem_.views[v].pose = {pose.rotation, pose.shift - pose.rotation * middle_};
        }
    }

    Adjustment& problem_;
    const Progress& progress_;
    int highest_ = -1;
    std::vector<int> slot_;  ///< by marker: its number among those that move, or -1
    int slots_ = 0;
    Vector3d middle_ = Vector3d::Zero();
    Index observations_ = 0;
    Index parameters_ = 0;
    std::vector<std::array<Index, intrinsic_count>> intrinsic_;
    State state_;
    MatrixXd normal_;
    VectorXd gradient_;
    std::vector<Matrix3d> marker_normal_;
    std::vector<Vector3d> marker_gradient_;
    std::vector<MatrixXd> mixed_;
};

}  // namespace

AdjustmentReport adjust(Adjustment& problem, const Progress& progress) {
    return Solver(problem, progress).run();
}

}  // namespace vyn
