#pragma once

#include <QColor>
#include <functional>
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
/// tells of the finished line by its signal `more_data`. A line that is there already is moved, or
/// one of its ends.
class GraphTool final : public ViewTool {
  public:
    using Moved = std::function<void(std::size_t line, Point from, Point to)>;
    /// `lines`: those that are there; `moved` is called while one is dragged.
    GraphTool(VynFieldView& view, const std::vector<GraphLine>& lines, Moved moved)
        : view_(view), lines_(lines), moved_(std::move(moved)) {}
    QCursor cursor() const override;
    void press(const ViewMouse& mouse) override;
    void move(const ViewMouse& mouse) override;
    void release(const ViewMouse& mouse) override;
    void cancel() override;
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    enum class Part { start, end, whole };
    /// A line under the pointer, and while it is dragged where it was at first.
    struct Grip {
        std::size_t line;
        Part part;
        Point from;
        Point to;
        Point at;
    };
    std::optional<Grip> grip_at(const ViewMouse& mouse) const;
    void drag(const ViewMouse& mouse);
    void act(MouseGesture::Event event);

    VynFieldView& view_;
    const std::vector<GraphLine>& lines_;
    Moved moved_;
    std::optional<Grip> grip_;
    MouseGesture gesture_{GestureKind::drag};
    Point start_;
};

}  // namespace vyn
