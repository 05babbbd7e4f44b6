#pragma once

#include "core/ui/setting_dialog.h"

class QGroupBox;

namespace vyn {

/// Settings of alignment, filtering and limits of the ratio: everything under
/// "project/processing/align/".
class QVynAlign : public SettingDialog {
    Q_OBJECT
  public:
    explicit QVynAlign(dataSetInterface& settings, QWidget* parent = nullptr);

  private:
    QGroupBox* marker_group();
    QGroupBox* correlation_group();
    QGroupBox* filter_group();
    QGroupBox* limit_group();
    QGroupBox* resampling_group();
};

}  // namespace vyn
