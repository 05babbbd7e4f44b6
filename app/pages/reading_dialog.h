#pragma once

#include "core/ui/setting_dialog.h"

namespace vyn {

class RawLayoutEdit;

/// What picture files leave open, for the files of a project: settings under
/// "project/processing/files/".
class ReadingDialog : public SettingDialog {
    Q_OBJECT
  public:
    explicit ReadingDialog(dataSetInterface& settings, QWidget* parent = nullptr);

  protected:
    void store() override;

  private:
    QWidget* average_group();
    QWidget* format_group();
    QWidget* raw_group();

    RawLayoutEdit* raw_ = nullptr;
};

}  // namespace vyn
