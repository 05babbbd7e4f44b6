#pragma once

#include <QWidget>

#include "render/fashion.h"

namespace vyn {

/// A palette's main ramp from the lower to the upper limit, with ticks, quantity and unit. Dragging
/// near an end moves that limit, dragging in between moves both; the wheel widens or narrows the
/// range about the pointer.
class ColourBar : public QWidget {
    Q_OBJECT
  public:
    explicit ColourBar(QWidget* parent = nullptr);

    void set_fashion(const Fashion& fashion);
    /// "Pressure, Pa"; shown above the bar's ticks.
    void set_label(const QString& label);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  Q_SIGNALS:
    /// The user moved a limit.
    void limits_dragged(const Limits& limits);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    enum class Grip { none, minimum, maximum, both };
    QRectF ramp() const;
    Grip grip_at(QPointF widget) const;
    double value_at(double widget_y) const;
    void change(Limits limits);

    Fashion fashion_;
    QString label_;
    Grip grip_ = Grip::none;
    double grip_y_ = 0;
    Limits grip_limits_;
};

/// The main ramp of a palette as a picture, the first colour left or below.
QImage ramp_picture(const palette_array& palette, Qt::Orientation orientation);

}  // namespace vyn
