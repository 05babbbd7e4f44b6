#pragma once

#include "core/ui/setting_dialog.h"

namespace vyn {

/// What is known of errors: settings under "project/processing/uncertainty/" and the noise of the
/// cameras.
class UncertaintyDialog : public SettingDialog {
    Q_OBJECT
  public:
    explicit UncertaintyDialog(dataSetInterface& settings, QWidget* parent = nullptr);

  private:
    QWidget* pictures_tab();
    QWidget* point_tab();
};

}  // namespace vyn
