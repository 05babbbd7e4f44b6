#pragma once

#include <QWidget>

#include "render/limits.h"

namespace vyn {

/// How often each value stands in an image, with the two limits as lines that can be dragged.
/// Counts are drawn by their square root, so that rare values can be seen.
class HistogramPlot : public QWidget {
    Q_OBJECT
  public:
    explicit HistogramPlot(QWidget* parent = nullptr);

    /// `quantity` names the values, with their unit.
    void set_histogram(const Histogram& histogram, const QString& quantity);
    void set_limits(const Limits& limits);
    QSize sizeHint() const override { return {320, 120}; }
    QSize minimumSizeHint() const override { return {160, 80}; }

  Q_SIGNALS:
    void limits_dragged(const Limits& limits);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    enum class Grip { none, minimum, maximum };
    QRectF plot() const;
    double x_of(double value) const;
    double value_at(double x) const;
    Grip grip_at(double x) const;

    Histogram histogram_;
    QString quantity_;
    Limits limits_;
    Grip grip_ = Grip::none;
};

}  // namespace vyn
