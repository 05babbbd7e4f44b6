#pragma once

#include <qwt_plot.h>

#include "calib/paint_fit.h"

namespace vyn {

/// The measurements of a calibration cell: pressure over ratio with the law through them, or what
/// the law misses them by over the pressure.
class PaintFitPlot : public QwtPlot {
    Q_OBJECT
  public:
    enum class Shows { law, residuals };
    explicit PaintFitPlot(Shows shows, QWidget* parent = nullptr);

    /// Null empties the plot.
    void show_fit(const PaintTable* table, const PaintFit* fit);

    QSize sizeHint() const override { return {480, shows_ == Shows::law ? 280 : 190}; }
    QSize minimumSizeHint() const override { return {260, 130}; }

  private:
    Shows shows_;
};

}  // namespace vyn
