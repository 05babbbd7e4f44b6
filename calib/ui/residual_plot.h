#pragma once

#include <qwt_plot.h>

#include "calib/port_selection.h"

namespace vyn {

/// Law minus measured pressure at the ports: of the fit, and with the law of all other ports.
class ResidualPlot : public QwtPlot {
    Q_OBJECT
  public:
    explicit ResidualPlot(QWidget* parent = nullptr);

    void show_residuals(const PortSelection& selection);

    QSize sizeHint() const override { return {520, 180}; }
    QSize minimumSizeHint() const override { return {320, 130}; }
};

}  // namespace vyn
