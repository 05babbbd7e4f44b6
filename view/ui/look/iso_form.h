#pragma once

#include <QWidget>

#include "render/fashion.h"

class QCheckBox;
class QComboBox;

namespace vyn {

class NumberEdit;

/// Which lines of equal value are drawn.
class IsoForm : public QWidget {
    Q_OBJECT
  public:
    explicit IsoForm(QWidget* parent = nullptr);

    void show_style(const IsoStyle& style);
    /// The style shown last with what the user changed.
    const IsoStyle& style() const { return style_; }

  Q_SIGNALS:
    void style_chosen(const IsoStyle& style);

  private:
    void choose_kind();
    void read_fields();
    void show_number();

    IsoStyle style_;
    bool writing_ = false;  ///< fields are being set; their changes are not the user's
    QComboBox* kind_;
    NumberEdit* number_;
    QCheckBox* labels_;
};

}  // namespace vyn
