#pragma once

#include "core/ui/setting_dialog.h"

class QGroupBox;
class QLineEdit;
class QToolButton;

namespace vyn {

/// Every number of the paint record under "project/sens_paint/".
class QVynPaintCalibration : public SettingDialog {
    Q_OBJECT
  public:
    explicit QVynPaintCalibration(dataSetInterface& settings, QWidget* parent = nullptr);

  private:
    QGroupBox* coefficient_group();
    QGroupBox* pressure_group();
    QGroupBox* temperature_group();
    QGroupBox* test_group();
    QToolButton* convert_button(QLineEdit* unit, const QStringList& names);
    /// Converts the numbers of the edits to other units; the coefficients stay.
    void change_units_to(const std::string& pressure_unit, const std::string& temperature_unit);

    QLineEdit* pressure_unit_ = nullptr;
    QLineEdit* temperature_unit_ = nullptr;
};

}  // namespace vyn
