#pragma once

#include <QWidget>

#include "render/fashion.h"

class QSpinBox;

namespace vyn {

class NumberEdit;

/// Scale and skips of the vector grid.
class VectorForm : public QWidget {
    Q_OBJECT
  public:
    explicit VectorForm(QWidget* parent = nullptr);

    void show_style(const VectorStyle& style);
    /// The style shown last with what the user changed.
    const VectorStyle& style() const { return style_; }
    /// False while the scale is no number.
    bool sound() const;

  Q_SIGNALS:
    void style_chosen(const VectorStyle& style);

  private:
    void read_fields();

    VectorStyle style_;
    bool writing_ = false;  ///< fields are being set; their changes are not the user's
    NumberEdit* scale_ = nullptr;
    QSpinBox* u_skip_ = nullptr;
    QSpinBox* v_skip_ = nullptr;
};

}  // namespace vyn
