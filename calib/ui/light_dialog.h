#pragma once

#include <utility>
#include <vector>

#include "core/ui/setting_dialog.h"

namespace vyn {

/// How the pictures are brought under one light, and what tells the wind-on temperature: settings
/// under "project/processing/lamp/" and "project/processing/temperature/".
class LightDialog : public SettingDialog {
    Q_OBJECT
  public:
    explicit LightDialog(dataSetInterface& settings, QWidget* parent = nullptr);

  private:
    QWidget* light_group();
    QWidget* temperature_group();
    /// Edits that the present choices do not use are switched off.
    void enable_edits();

    QComboBox* monitor_ = nullptr;
    QComboBox* source_ = nullptr;
    std::vector<std::pair<QWidget*, const char*>> of_monitor_;
    std::vector<std::pair<QWidget*, const char*>> of_source_;
};

}  // namespace vyn
