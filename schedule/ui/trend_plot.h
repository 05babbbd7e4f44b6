#pragma once

#include <memory>

#include <qwt_plot.h>

#include "schedule/ui/run_watch.h"

class QwtPlotCurve;
class QwtPlotMarker;

namespace vyn {

/// One figure along a run, a dot a point; those beyond the limit in red.
class TrendPlot : public QwtPlot {
    Q_OBJECT
  public:
    explicit TrendPlot(QWidget* parent = nullptr);
    ~TrendPlot() override;

    void show_figure(const RunView& run, const FigureInfo& figure);
    void show_nothing();

  Q_SIGNALS:
    /// The user pressed a point's dot: its place in the run.
    void chosen(int point);

  private:
    std::unique_ptr<QwtPlotCurve> good_;
    std::unique_ptr<QwtPlotCurve> beyond_;
    std::unique_ptr<QwtPlotMarker> limit_;
};

}  // namespace vyn
