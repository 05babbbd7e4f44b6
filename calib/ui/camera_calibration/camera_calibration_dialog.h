#pragma once

#include <QDialog>
#include <memory>
#include <vector>

#include "calib/ui/camera_calibration/residual_overlay.h"
#include "core/ui/busy_box.h"
#include "process/model/camera_calibration.h"

class QLabel;
class QLayout;
class QLineEdit;
class QPushButton;
class QTableWidget;

namespace vyn {

class IntrinsicsTable;
class NumberEdit;
class RadiusPlot;
class VynFieldView;

/// Calibrates the signal camera of the project from the dots of one or several pictures and the
/// markers on the model: shows what that leaves of the residuals, and stores the camera when the
/// user accepts it.
class CameraCalibrationDialog : public QDialog {
    Q_OBJECT
  public:
    /// Begins with the project's own picture, where there is one.
    explicit CameraCalibrationDialog(Worker& worker, QWidget* parent = nullptr);
    ~CameraCalibrationDialog() override;

    /// What the user has to know of the last calibration, line by line.
    const std::vector<std::string>& remarks() const { return remarks_; }
    /// Null until one was made, and after a change of views or of what is free.
    const CameraCalibration* result() const { return result_.get(); }

  public Q_SLOTS:
    void add_project();
    void add_markers();
    void remove_view();
    void calibrate();
    /// Stores the camera in settings and file.
    void accept() override;

  private:
    QLayout* left_side();
    QLayout* right_side();
    QLayout* buttons();
    QPushButton* button(const QString& text, const char* name, const QString& tip,
                        void (CameraCalibrationDialog::*slot)());
    void add_view(CalibrationViewTask::Kind kind, const std::string& file);
    void choose_file();
    bool may_write_file();
    /// What was found belongs to other inputs.
    void forget_result();
    void show_views();
    void show_chosen_view();
    void show_remarks();
    /// Of the view that shows what this camera is like; null without result or such a view.
    const ViewResult* found_camera() const;

    QBusyBox busy_box_;
    cameraFeatures record_;
    std::vector<std::shared_ptr<const CalibrationView>> views_;
    std::shared_ptr<const CameraCalibration> result_;
    std::vector<std::string> remarks_;
    std::string agreed_file_;  ///< to be replaced, as the user said
    ResidualOverlay overlay_;

    QTableWidget* list_;
    IntrinsicsTable* intrinsics_;
    QLabel* words_;
    QLineEdit* file_;
    VynFieldView* picture_;
    NumberEdit* factor_;
    RadiusPlot* plot_;
    QPushButton* remove_;
    QPushButton* calibrate_;
    QPushButton* accept_;
};

}  // namespace vyn
