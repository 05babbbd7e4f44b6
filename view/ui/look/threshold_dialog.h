#pragma once

#include <QDialog>

#include "render/limits.h"

namespace vyn {

class NumberEdit;

/// Asks for a range of values; an empty end leaves that side open.
class ThresholdDialog : public QDialog {
    Q_OBJECT
  public:
    ThresholdDialog(const Limits& proposal, QWidget* parent);
    double low() const;
    double high() const;

  public Q_SLOTS:
    void accept() override;

  private:
    NumberEdit* low_;
    NumberEdit* high_;
};

}  // namespace vyn
