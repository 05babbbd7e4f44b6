#pragma once

#include <QColor>
#include <optional>
#include <vector>

#include "view/edit/mouse_gesture.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

class VynFieldView;

/// A line of the graph as it lies on the image.
struct GraphLine {
    Point from;
    Point to;
    QColor colour;
};

/// Draws the lines of the graph window on the image, with their widths and the place that the graph
/// window's pointer is on.
class GraphLineOverlay final : public ViewOverlay {
  public:
    std::vector<GraphLine> lines;
    int width = 1;  ///< of the averaged band, pixels
    std::vector<Point> pointed;

    void paint(QPainter& painter, const ViewTransform& transform) const override;
};

/// Draws a line with the left button; Shift keeps it horizontal, vertical or diagonal. The view
/// tells of the finished line by its signal `more_data`.
class GraphTool final : public ViewTool {
  public:
    explicit GraphTool(VynFieldView& view) : view_(view) {}
    QCursor cursor() const override;
    void press(const ViewMouse& mouse) override;
    void move(const ViewMouse& mouse) override;
    void release(const ViewMouse& mouse) override;
    void cancel() override;
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    void act(MouseGesture::Event event);

    VynFieldView& view_;
    MouseGesture gesture_{GestureKind::drag};
    Point start_;
};

}  // namespace vyn
