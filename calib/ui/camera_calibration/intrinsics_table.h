#pragma once

#include <QTableWidget>

#include "process/model/camera_calibration.h"

namespace vyn {

/// The intrinsics of a camera: which are free, what its record says, what was found and how well.
class IntrinsicsTable : public QTableWidget {
    Q_OBJECT
  public:
    using Free = CalibrateCameraTask::Free;

    explicit IntrinsicsTable(QWidget* parent = nullptr);

    void set_free(const Free& free);
    Free free() const;
    void show_record(const cameraFeatures& record);
    /// Null: nothing was found.
    void show_found(const cameraFeatures& record, const ViewResult* found);

    QSize sizeHint() const override;

  Q_SIGNALS:
    /// By the user.
    void free_changed();

  private:
    void couple(const QTableWidgetItem* item);
    bool writing_ = false;
};

}  // namespace vyn
