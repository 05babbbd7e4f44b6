#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/task.h"
#include "process/model/model_views.h"
#include "render/image_levels.h"

namespace vyn {

/// A picture that a camera is calibrated with: its dots, and itself where it is known.
struct CalibrationView {
    PointView seen;
    std::shared_ptr<const ImageLevels> picture;  ///< raw; null for a mere file of markers
};

/// What a calibration found, and what the cameras' records leave of the same pairs.
struct CameraCalibration {
    ResectReport found;
    /// By view: the best pose with the intrinsics as they stand in the record, of the same pairs,
    /// markers corrected as they were found. Nothing where the record's lens does not see them all.
    std::vector<std::optional<ViewResult>> before;
};

/// Resection of all views together with the intrinsics that the options free. Raises as `resect`.
CameraCalibration calibrate_camera(const std::vector<Marker>& markers,
                                   const std::vector<PointView>& views,
                                   const ResectOptions& options, const Progress& progress);

/// The view among these that the session's signal camera took, by equal records; nothing when there
/// is none.
std::optional<std::size_t> view_of_camera(const std::vector<PointView>& views,
                                          const cameraFeatures& record);

/// Where a camera's record says that it is from, as a place on disk; empty when it came from no
/// file.
std::filesystem::path camera_file(const dataSetInterface& data, const cameraFeatures& record);

/// Writes the intrinsics that `view` of a calibration found into the session's signal camera, into
/// that of the reference channel where it is the same one (but for its flat field), and,
/// unless it is empty, into `file`, which is then the camera's. Everything made with the old ones
/// is out of date by that. Raises FileError; the settings are then as they were.
void accept_camera(dataSetInterface& data, const ViewResult& view,
                   const std::filesystem::path& file);

/// Reads a view: the session's own picture without a file, that of another project, or the dots of
/// a marker file as seen by the session's camera. Raises AlgoError, also for a picture that has not
/// the size of its camera, and FileError.
class CalibrationViewTask final : public Task {
  public:
    enum class Kind { own, project, markers };
    CalibrationViewTask(Session session, Kind kind, std::filesystem::path file = {})
        : session_(session), kind_(kind), file_(std::move(file)) {}
    TaskOutcome run(TaskContext& context) override;
    /// Filled when the task is done.
    std::shared_ptr<const CalibrationView> view() const { return view_; }

  private:
    Session session_;
    Kind kind_;
    std::filesystem::path file_;
    std::shared_ptr<CalibrationView> view_ = std::make_shared<CalibrationView>();
};

/// Calibrates with the session's markers on the model and settings of the resection, but for what
/// is free.
class CalibrateCameraTask final : public Task {
  public:
    using Free = std::array<bool, intrinsic_count>;
    CalibrateCameraTask(Session session, std::vector<PointView> views, const Free& free)
        : session_(session), views_(std::move(views)), free_(free) {}
    TaskOutcome run(TaskContext& context) override;
    /// Filled when the task is done.
    std::shared_ptr<const CameraCalibration> result() const { return result_; }

  private:
    Session session_;
    std::vector<PointView> views_;
    Free free_;
    std::shared_ptr<CameraCalibration> result_ = std::make_shared<CameraCalibration>();
};

}  // namespace vyn
