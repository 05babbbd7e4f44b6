#pragma once

#include <string>
#include <vector>

#include "core/ui/setting_dialog.h"

class QGroupBox;
class QLabel;
class QListWidget;

namespace vyn {

/// Settings of the resection and of what is put on the model: everything under
/// "roject/processing/resection/".
class ResectionDialog : public SettingDialog {
    Q_OBJECT
  public:
    explicit ResectionDialog(dataSetInterface& settings, QWidget* parent = nullptr);

  public Q_SLOTS:
    /// Asks for the project of a further camera.
    void add_view();
    void remove_view();

  private:
    void store() override;
    QGroupBox* marker_group();
    QGroupBox* pose_group();
    QGroupBox* mesh_group();
    QGroupBox* projection_group();
    QGroupBox* view_group();

    QLabel* pose_;
    QListWidget* views_;
    bool pose_forgotten_ = false;
};

}  // namespace vyn
