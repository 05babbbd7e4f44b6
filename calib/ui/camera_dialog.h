#pragma once

#include "calib/camera.h"
#include "core/ui/setting_dialog.h"

class QHBoxLayout;
class QLineEdit;

namespace vyn {

class FormGrid;

/// The camera record of a sub-tree (keys::sens_camera and the like), with its files.
class QVynCamera : public SettingDialog {
    Q_OBJECT
  public:
    QVynCamera(dataSetInterface& settings, std::string tree, QWidget* parent = nullptr);

    /// Shows the record of a file; false, after a message, when there is none.
    bool open_file(const std::string& file);

  protected:
    void store() override;

  private:
    /// Of a camera whose pictures are light: that of a temperature map has none.
    void add_flat_row(FormGrid& rows);
    QHBoxLayout* file_row();
    cameraFeatures shown_record();
    void show_record(const cameraFeatures& record);
    void open_camera();
    void save_camera();
    void choose_flat();

    const std::string tree_;
    QLineEdit* flat_edit_ = nullptr;
    /// The record being edited, with the fields that have no edit.
    simpleNamedDataSet draft_;
};

}  // namespace vyn
