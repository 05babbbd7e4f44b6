#pragma once

#include <array>
#include <vector>

#include "core/progress.h"
#include "resect/camera_model.h"
#include "resect/dot_pair.h"

namespace vyn {

enum class RobustLoss { none, huber, tukey };

/// A camera whose intrinsics may move, shared by the views that it took.
struct AdjustCamera {
    PinholeCamera camera;
    std::array<bool, intrinsic_count> free{};
};

struct AdjustView {
    int camera = 0;  ///< index
    Pose pose;
    std::vector<DotPair> pairs;
};

/// Cameras, poses and markers that are found together. Markers are known by `DotPair::marker`.
struct Adjustment {
    std::vector<AdjustCamera> cameras;
    std::vector<AdjustView> views;
    double marker_sigma = 0;  ///< of each 3-D coordinate, mm; above 0 the markers move, too
    RobustLoss loss = RobustLoss::huber;
    double loss_width = 1;  ///< pixels
};

/// What an adjustment knows of its answer. Parameters: six a view (rotation vector on the left,
/// shift, of Xc = exp(w) R X + t), then the free intrinsics camera after camera (the focus as a
/// factor of both focal lengths).
struct AdjustmentReport {
    Eigen::MatrixXd covariance;  ///< of the parameters, scaled by the residuals' scatter
    double scatter = 0;          ///< standard deviation of a residual of sigma 1
    double condition = 0;        ///< of the normal matrix with columns of unit length
    double strongest_correlation = 0;
    int iterations = 0;
    /// By view and pair: the residual in pixels, dot minus projection, and the share of it that
    /// the fit has taken (leverage).
    struct Residual {
        double dx = 0;
        double dy = 0;
        Eigen::Matrix2d leverage = Eigen::Matrix2d::Zero();
    };
    std::vector<std::vector<Residual>> residuals;
    std::vector<Eigen::Vector3d> corrections;  ///< by marker, mm; empty with marker_sigma 0
    double cost = 0;                           ///< robust sum of squared residuals in sigmas
};

/// Levenberg and Marquardt's method with analytic derivatives in raw pixels, rotations as
/// exponential maps about the markers' middle, marker corrections eliminated by the Schur
/// complement. Ends when the sum falls by less than 1e-12 of itself. `problem` becomes the answer.
/// Sums run in a fixed order. Raises AlgoError when a start has markers behind the camera or
/// outside of its lens, Aborted when told to stop.
AdjustmentReport adjust(Adjustment& problem, const Progress& progress);

}  // namespace vyn
