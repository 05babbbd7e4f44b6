#pragma once

#include <qwt_plot.h>

#include "calib/paint.h"

namespace vyn {

/// Small plot of a paint's law P(R) at three temperatures.
class PaintPlot : public QwtPlot {
    Q_OBJECT
  public:
    explicit PaintPlot(QWidget* parent = nullptr);

    void show_paint(const paintFeatures& paint);

    QSize sizeHint() const override { return {340, 260}; }
    QSize minimumSizeHint() const override { return {220, 170}; }
};

}  // namespace vyn
