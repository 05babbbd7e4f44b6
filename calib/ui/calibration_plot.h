#pragma once

#include <optional>
#include <vector>

#include <qwt_plot.h>

#include "calib/in_situ_fit.h"

namespace vyn {

/// Ports and fitted law of an in-situ calibration. A port is told by its place in the list.
class CalibrationPlot : public QwtPlot {
    Q_OBJECT
  public:
    explicit CalibrationPlot(QWidget* parent = nullptr);

    /// `used` says which points are in the fit; `hints` are shown when the pointer is on a point.
    void show_points(const std::vector<CalibrationPoint>& points, const std::vector<bool>& used,
                     const QStringList& hints);
    void show_curve(const std::optional<FittedCurve>& curve);
    /// The band of two standard errors to either side of the law; nothing hides it.
    void show_band(const InSituFit* fit);

    QSize sizeHint() const override { return {520, 360}; }
    QSize minimumSizeHint() const override { return {320, 240}; }

  Q_SIGNALS:
    void point_clicked(int index);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    /// The point under the pointer; -1 when there is none.
    int point_at(QPoint canvas_position) const;

    std::vector<CalibrationPoint> points_;
    QStringList hints_;
};

}  // namespace vyn
