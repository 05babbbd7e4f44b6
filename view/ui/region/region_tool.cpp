#include "view/ui/region/region_tool.h"

#include <QPainterPath>

#include "view/ui/markers/marker_overlay.h"

namespace vyn {

namespace {

const QColor shape_colour(255, 145, 0);

Point place_of(const ViewMouse& mouse) {
    return {mouse.image.x(), mouse.image.y()};
}

QPainterPath outline(RegionShape shape, const QPolygonF& places) {
    QPainterPath path;
    const QRectF box = QRectF(places.front(), places.back()).normalized();
    switch (shape) {
        case RegionShape::rectangle:
            path.addRect(box);
            break;
        case RegionShape::ellipse:
            path.addEllipse(box);
            break;
        case RegionShape::polygon:
            path.addPolygon(places);
            path.closeSubpath();
            break;
        case RegionShape::brush:
            path.addPolygon(places);
            break;
    }
    return path;
}

}  // namespace

void RegionTool::set_shape(RegionShape shape) {
    cancel();
    shape_ = shape;
    gesture_ = MouseGesture(gesture_kind(MouseMode::region, shape));
}

void RegionTool::press(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton) act(gesture_.press(place_of(mouse)));
}

void RegionTool::move(const ViewMouse& mouse) {
    pointer_ = place_of(mouse);
    act(gesture_.move(pointer_));
    if (shape_ == RegionShape::brush) redraw_();
}

void RegionTool::release(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton) act(gesture_.release(place_of(mouse)));
}

void RegionTool::double_click(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton) act(gesture_.double_click(place_of(mouse)));
}

void RegionTool::cancel() {
    act(gesture_.cancel());
}

void RegionTool::act(MouseGesture::Event event) {
    if (event == MouseGesture::Event::none) return;
    if (event == MouseGesture::Event::finished) drawn_(shape_, gesture_.places());
    redraw_();
}

void RegionTool::paint(QPainter& painter, const ViewTransform& transform) const {
    if (shape_ == RegionShape::brush) {
        const double radius = brush_radius_ * transform.zoom;
        QPainterPath ring;
        ring.addEllipse(transform.to_widget({pointer_.x, pointer_.y}), radius, radius);
        draw_haloed(painter, ring, shape_colour);
    }
    if (!gesture_.active()) return;
    QPolygonF places;
    for (const Point& place : gesture_.places())
        places.append(transform.to_widget({place.x, place.y}));
    const QPainterPath path = outline(shape_, places);
    if (shape_ != RegionShape::brush) return draw_haloed(painter, path, shape_colour);
    QColor colour = shape_colour;
    colour.setAlphaF(0.5);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colour, 2 * brush_radius_ * transform.zoom, Qt::SolidLine, Qt::RoundCap,
                        Qt::RoundJoin));
    painter.drawPath(path);
}

}  // namespace vyn
