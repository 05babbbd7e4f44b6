#include "view/ui/graph/graph_tool.h"

#include <QPainterPath>
#include <cmath>

#include "core/ui/icons.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/markers/marker_overlay.h"

namespace vyn {

namespace {

/// The end turned about the start to the nearest multiple of 45 degrees.
Point straightened(Point start, Point end) {
    const double dx = end.x - start.x;
    const double dy = end.y - start.y;
    const double step = std::acos(-1.0) / 4;
    const double angle = std::round(std::atan2(dy, dx) / step) * step;
    const double length = dx * std::cos(angle) + dy * std::sin(angle);
    return {start.x + length * std::cos(angle), start.y + length * std::sin(angle)};
}

Point place_of(const ViewMouse& mouse) {
    return {mouse.image.x(), mouse.image.y()};
}

Point end_of(const ViewMouse& mouse, Point start) {
    const Point end = place_of(mouse);
    return mouse.modifiers & Qt::ShiftModifier ? straightened(start, end) : end;
}

QPainterPath segment(const ViewTransform& transform, Point from, Point to) {
    QPainterPath path(transform.to_widget({from.x, from.y}));
    path.lineTo(transform.to_widget({to.x, to.y}));
    return path;
}

}  // namespace

void GraphLineOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    constexpr double start_radius = 3;
    for (const GraphLine& line : lines) {
        if (width > 1) {
            QColor band = line.colour;
            band.setAlphaF(0.25);
            painter.setPen(QPen(band, width * transform.zoom, Qt::SolidLine, Qt::FlatCap));
            painter.drawPath(segment(transform, line.from, line.to));
        }
        QPainterPath path = segment(transform, line.from, line.to);
        path.addEllipse(transform.to_widget({line.from.x, line.from.y}), start_radius,
                        start_radius);
        draw_haloed(painter, path, line.colour);
    }
    constexpr double pointed_radius = 4;
    for (const Point& place : pointed) {
        QPainterPath ring;
        ring.addEllipse(transform.to_widget({place.x, place.y}), pointed_radius, pointed_radius);
        draw_haloed(painter, ring, Qt::white);
    }
}

QCursor GraphTool::cursor() const {
    return vyn_cursor(QStringLiteral("graph_draw_cur.png"));
}

void GraphTool::press(const ViewMouse& mouse) {
    if (mouse.button != Qt::LeftButton) return;
    start_ = place_of(mouse);
    act(gesture_.press(start_));
}

void GraphTool::move(const ViewMouse& mouse) {
    act(gesture_.move(end_of(mouse, start_)));
}

void GraphTool::release(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton) act(gesture_.release(end_of(mouse, start_)));
}

void GraphTool::cancel() {
    act(gesture_.cancel());
}

void GraphTool::act(MouseGesture::Event event) {
    if (event == MouseGesture::Event::none) return;
    view_.update();
    const Point from = gesture_.places().front();
    const Point to = gesture_.places().back();
    if (event == MouseGesture::Event::finished && from != to)
        Q_EMIT view_.more_data(from.x, from.y, to.x, to.y);
}

void GraphTool::paint(QPainter& painter, const ViewTransform& transform) const {
    if (gesture_.active())
        draw_haloed(painter,
                    segment(transform, gesture_.places().front(), gesture_.places().back()),
                    Qt::white);
}

}  // namespace vyn
