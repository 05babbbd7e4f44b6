#pragma once

#include <QCursor>
#include <QPainter>
#include <QPointF>

namespace vyn {

/// Where the image lies in the widget. Image positions have pixel centres at whole coordinates, so
/// the image covers (-0.5, -0.5) to (width - 0.5, height - 0.5).
struct ViewTransform {
    double zoom = 1;  ///< widget pixels (device independent) per image pixel
    QPointF origin;   ///< image position of the widget's upper left corner

    QPointF to_widget(QPointF image) const { return (image - origin) * zoom; }
    QPointF to_image(QPointF widget) const { return widget / zoom + origin; }
    bool operator==(const ViewTransform&) const = default;
};

/// A mouse event on the view.
struct ViewMouse {
    QPointF image;   ///< image position
    QPointF widget;  ///< widget position
    Qt::MouseButton button = Qt::NoButton;
    Qt::MouseButtons buttons;
    Qt::KeyboardModifiers modifiers;
};

/// What the left button does in one mouse mode; one tool is in use at a time. Panning (middle
/// button, space) and zooming with the wheel are the view's own. Positions may lie outside the
/// image. Nothing is called while no image is shown.
class ViewTool {
  public:
    virtual ~ViewTool() = default;
    virtual QCursor cursor() const = 0;
    virtual void press(const ViewMouse&) {}
    virtual void move(const ViewMouse&) {}
    virtual void release(const ViewMouse&) {}
    virtual void double_click(const ViewMouse&) {}
    /// Ends what was begun (Escape, another tool chosen).
    virtual void cancel() {}
    /// Drawn above image and overlays, in widget coordinates.
    virtual void paint(QPainter&, const ViewTransform&) const {}
};

/// Something drawn on the image: markers, vectors, a profile line. The painter's clip is the
/// widget.
class ViewOverlay {
  public:
    virtual ~ViewOverlay() = default;
    virtual void paint(QPainter&, const ViewTransform&) const = 0;
};

}  // namespace vyn
