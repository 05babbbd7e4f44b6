#pragma once

#include <functional>

#include "view/edit/mouse_gesture.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Draws the shapes of the region tools.
class RegionTool final : public ViewTool {
  public:
    /// `drawn` gets every finished shape.
    RegionTool(std::function<void(RegionShape, const std::vector<Point>&)> drawn,
               std::function<void()> redraw)
        : drawn_(std::move(drawn)), redraw_(std::move(redraw)) {}

    RegionShape shape() const { return shape_; }
    void set_shape(RegionShape shape);
    /// Pixels of the image.
    double brush_radius() const { return brush_radius_; }
    void set_brush_radius(double radius) { brush_radius_ = radius; }

    QCursor cursor() const override { return {Qt::CrossCursor}; }
    void press(const ViewMouse& mouse) override;
    void move(const ViewMouse& mouse) override;
    void release(const ViewMouse& mouse) override;
    void double_click(const ViewMouse& mouse) override;
    void cancel() override;
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    void act(MouseGesture::Event event);

    std::function<void(RegionShape, const std::vector<Point>&)> drawn_;
    std::function<void()> redraw_;
    RegionShape shape_ = RegionShape::rectangle;
    double brush_radius_ = 8;
    MouseGesture gesture_{gesture_kind(MouseMode::region, RegionShape::rectangle)};
    Point pointer_;
};

}  // namespace vyn
