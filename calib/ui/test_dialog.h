#pragma once

#include "core/ui/setting_dialog.h"

namespace vyn {

/// Identification and flow state of the test point: names and values under "project/".
class QVynTest : public SettingDialog {
    Q_OBJECT
  public:
    explicit QVynTest(dataSetInterface& settings, QWidget* parent = nullptr);
};

}  // namespace vyn
