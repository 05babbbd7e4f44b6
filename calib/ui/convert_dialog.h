#pragma once

#include "core/ui/setting_dialog.h"

namespace vyn {

/// Settings of the conversion of the ratio into the field: "project/processing/convert/".
class QVynConvert : public SettingDialog {
    Q_OBJECT
  public:
    explicit QVynConvert(dataSetInterface& settings, QWidget* parent = nullptr);
};

}  // namespace vyn
