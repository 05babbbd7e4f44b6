#pragma once

#include <utility>
#include <vector>

#include "core/ui/setting_dialog.h"

class QLabel;

namespace vyn {

/// How the pictures are brought under one light, and what tells the wind-on temperature: settings
/// under "project/processing/lamp/" and "project/processing/temperature/", and the camera of the
/// temperature map.
class LightDialog : public SettingDialog {
    Q_OBJECT
  public:
    explicit LightDialog(dataSetInterface& settings, QWidget* parent = nullptr);

  protected:
    void store() override;

  private:
    QWidget* light_group();
    QWidget* temperature_group();
    /// What the camera is called, and a button for its dialog.
    QWidget* camera_row();
    void edit_camera();
    void show_camera();
    /// Edits that the present choices do not use are switched off.
    void enable_edits();

    QComboBox* monitor_ = nullptr;
    QComboBox* source_ = nullptr;
    QLabel* camera_label_ = nullptr;
    /// The record of the temperature map's camera, until OK stores it.
    simpleNamedDataSet camera_;
    std::vector<std::pair<QWidget*, const char*>> of_monitor_;
    std::vector<std::pair<QWidget*, const char*>> of_source_;
};

}  // namespace vyn
