#pragma once

#include <QDialog>

#include "render/picture_values.h"
#include "view/ui/canvas/preparation.h"

namespace vyn {

class HistogramPlot;
class NumberEdit;

/// Asks for a range of values, by numbers or on the histogram; an empty end leaves that side open.
class ThresholdDialog : public QDialog {
    Q_OBJECT
  public:
    ThresholdDialog(const Limits& proposal, QWidget* parent);
    /// Shows the histogram of its values, as soon as they are counted.
    void set_picture(const std::shared_ptr<const image>& picture);
    double low() const;
    double high() const;

  public Q_SLOTS:
    void accept() override;

  Q_SIGNALS:
    /// Low or high changed, while they are typed or dragged.
    void range_changed();

  private:
    void read_fields();

    NumberEdit* low_;
    NumberEdit* high_;
    HistogramPlot* histogram_;
    Preparation preparation_;  ///< of the histogram
};

}  // namespace vyn
