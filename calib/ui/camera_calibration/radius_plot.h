#pragma once

#include <qwt_plot.h>

#include "resect/resection.h"

namespace vyn {

/// The part of the residuals that points away from the image centre, against the distance from it:
/// what a lens does shows as a curve.
class RadiusPlot : public QwtPlot {
    Q_OBJECT
  public:
    explicit RadiusPlot(QWidget* parent = nullptr);

    /// With the intrinsics found, and with those of the record; null leaves one out.
    void show_residuals(const ViewResult* found, const ViewResult* before);

    QSize sizeHint() const override { return {480, 190}; }
    QSize minimumSizeHint() const override { return {260, 130}; }
};

}  // namespace vyn
