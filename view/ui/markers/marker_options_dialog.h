#pragma once

#include <QDialog>

class QCheckBox;
class QSpinBox;

namespace vyn {

/// Size and kind of the markers.
class MarkerOptionsDialog : public QDialog {
    Q_OBJECT
  public:
    explicit MarkerOptionsDialog(QWidget* parent = nullptr);

  public Q_SLOTS:
    void accept() override;

  private:
    QSpinBox* size_;
    QCheckBox* pit_;
};

}  // namespace vyn
