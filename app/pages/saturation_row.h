#pragma once

#include <QWidget>

class QCheckBox;

namespace vyn {

class SettingEdit;

/// What is done with pixels at the sensor's maximum when a camera picture is loaded.
class SaturationRow : public QWidget {
    Q_OBJECT
  public:
    explicit SaturationRow(QWidget* parent = nullptr);
    void show_settings();

  Q_SIGNALS:
    /// The pictures have to be loaded anew.
    void changed();

  private:
    QCheckBox* exclude_;
    SettingEdit* level_;
};

}  // namespace vyn
