#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/progress.h"
#include "markers/marker.h"
#include "resect/adjustment.h"
#include "resect/consensus.h"

namespace vyn {

enum class PairingKind { automatic, by_number, by_geometry };

/// What a user asks of a resection. Lengths in mm, pixels of the raw picture.
struct ResectOptions {
    StartKind start = StartKind::automatic;
    PairingKind pairing = PairingKind::automatic;
    double gate = 3;
    int min_pairs = 6;
    bool free_focus = false;
    bool free_centre = false;
    bool free_a2 = false;
    bool free_a4 = false;
    RobustLoss loss = RobustLoss::huber;
    double marker_sigma = 0;
    double image_sigma = 0.1;
    enum class PoseChoice { better, other };
    PoseChoice pose_choice = PoseChoice::better;  ///< of the two that explain a plane
};

/// One camera picture's part: dots in raw pixels.
struct ResectView {
    std::string name;
    PinholeCamera camera;
    std::vector<Marker> dots;
    std::optional<Pose> stored;
};

/// What became of a dot or marker.
struct MarkerResult {
    int marker_id = 0;
    int dot_id = 0;
    Eigen::Vector3d place{0, 0, 0};
    Point dot;      ///< raw pixel
    double dx = 0;  ///< dot minus projection, pixels
    double dy = 0;
    double standardised = 0;  ///< by its expected scatter; about 1
    bool used = false;
    double length() const { return std::hypot(dx, dy); }
};

/// A parameter that was freed, with its standard deviation.
struct FreedIntrinsic {
    Intrinsic which;
    double value = 0;  ///< the focus as a factor of the record's
    double sigma = 0;
};

struct ViewResult {
    std::string name;
    PinholeCamera camera;  ///< as adjusted
    PinholeCamera camera_before;
    Pose pose;  ///< mm
    /// Of the rotation vector (radians, left of the rotation), the shift (mm), then the freed
    /// intrinsics in the order of `freed`.
    Eigen::MatrixXd covariance;
    std::vector<FreedIntrinsic> freed;
    std::string paired_how;  ///< "by number", "by geometry"
    std::size_t dots = 0;
    std::vector<MarkerResult> markers;  ///< the pairs, also those left out
    double rms = 0;                     ///< length of the residuals, pixels
    double mean = 0;
    double largest = 0;
    int largest_at = 0;  ///< marker number
    double leave_one_out_rms = 0;
    std::size_t used = 0;
    bool planar = false;
    double tilt = 0;                  ///< of the plane against the picture, degrees
    std::optional<double> other_rms;  ///< of the plane's second pose
    double hull_share = 0;            ///< of the picture
    double distance = 0;              ///< to the markers' middle, mm
    double mm_per_pixel = 0;
    std::array<double, 3> angles{};  ///< rotation as turns about z, y, x, degrees
};

struct ResectReport {
    std::vector<ViewResult> views;
    double condition = 0;
    double strongest_correlation = 0;
    double scatter = 0;                ///< of a residual over its expected deviation
    std::vector<std::string> remarks;  ///< one line each: what was held, left out, ambiguous
};

/// Poses of one or several views of the same markers, found in one adjustment; see
/// `ResectOptions`. Markers that are not active take no part. Raises AlgoError "Resection Failed!"
/// with the reason, GenericError "Wrong resect type" for a start that is none, Aborted when told to
/// stop.
ResectReport resect(const std::vector<Marker>& markers, const std::vector<ResectView>& views,
                    const ResectOptions& options, const Progress& progress);

/// A number of `resect_type` as a start; raises "Wrong resect type" for any but 0 to 4.
StartKind start_kind(int number);

}  // namespace vyn
