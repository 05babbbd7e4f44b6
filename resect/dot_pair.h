#pragma once

#include <vector>

#include <Eigen/Core>

#include "api/point.h"

namespace vyn {

/// A marker on the model and the dot on the picture that it is taken for.
struct DotPair {
    int marker = 0;                  ///< index in the list of 3-D markers
    int dot = 0;                     ///< index in the list of dots
    Eigen::Vector3d place{0, 0, 0};  ///< model frame, mm
    Point pixel;                     ///< raw
    double sigma = 0.1;              ///< of the dot's centre, pixels per axis
};

/// How places lie: eigenvalues of their covariance, the largest first, and their axes.
struct Spread {
    Eigen::Vector3d middle{0, 0, 0};
    Eigen::Vector3d eigenvalues{0, 0, 0};
    Eigen::Matrix3d axes = Eigen::Matrix3d::Identity();  ///< columns, right-handed

    /// Nearly in line: no pose follows.
    bool in_line() const { return !(eigenvalues[1] > 1e-3 * eigenvalues[0]); }
    /// Nearly in one plane: two poses explain the dots.
    bool in_plane() const { return !(eigenvalues[2] > 1e-3 * eigenvalues[1]); }
};
Spread spread_of(const std::vector<DotPair>& pairs);

}  // namespace vyn
