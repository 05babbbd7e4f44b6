#pragma once

#include <nlohmann/json_fwd.hpp>

#include "projection/projection.h"
#include "resect/resection.h"

namespace vyn {

/// The report of a resection: "views" with R (9 numbers, row by row), t (mm), camera, covariance
/// (rotation vector, shift, freed intrinsics), markers and their residuals; "remarks".
nlohmann::json resection_json(const ResectReport& report);

/// What a report tells of one view's pose, for use with another field. Raises AlgoError when the
/// entry is none.
struct ReportedPose {
    std::string name;
    PinholeCamera camera;
    Pose pose;
    Eigen::MatrixXd covariance;
    std::vector<Intrinsic> freed;
    double rms = 0;
};
ReportedPose reported_pose(const nlohmann::json& view);

/// The same view with its markers and their residuals. Raises AlgoError when the entry is none.
ViewResult reported_view(const nlohmann::json& view);

/// What projecting did: nodes seen and lost by view, shares of the area by zone.
nlohmann::json projection_json(const ProjectionResult& result,
                               const std::vector<ProjectedView>& views,
                               const field_data<double>& mesh);
/// The same as lines of the log.
std::vector<std::string> projection_lines(const ProjectionResult& result,
                                          const std::vector<ProjectedView>& views);
/// And of a resection.
std::vector<std::string> resection_lines(const ResectReport& report);

}  // namespace vyn
