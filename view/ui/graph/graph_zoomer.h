#pragma once

#include <QMouseEvent>

#include <qwt_plot_zoomer.h>

namespace vyn {

/// Zooms with the left button, goes back with the right one, and tells where the pointer is even
/// while no button is down.
class GraphZoomer final : public QwtPlotZoomer {
  public:
    explicit GraphZoomer(QWidget* canvas) : QwtPlotZoomer(canvas) {
        setTrackerMode(QwtPicker::AlwaysOff);
        setMousePattern(QwtEventPattern::MouseSelect2, Qt::RightButton, Qt::ControlModifier);
        setMousePattern(QwtEventPattern::MouseSelect3, Qt::RightButton);
        canvas->setMouseTracking(true);
    }

  protected:
    void widgetMouseMoveEvent(QMouseEvent* event) override {
        QwtPlotZoomer::widgetMouseMoveEvent(event);
        Q_EMIT moved(invTransform(event->pos()));
    }
    void widgetLeaveEvent(QEvent* event) override {
        QwtPlotZoomer::widgetLeaveEvent(event);
        Q_EMIT moved(QPointF(qQNaN(), qQNaN()));
    }
};

}  // namespace vyn
