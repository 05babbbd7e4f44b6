#include "view/ui/graph/graph_tool.h"

#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "core/ui/icons.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/markers/marker_overlay.h"

namespace vyn {

namespace {

/// How near the pointer must be to an end or to the rest of a line, widget pixels.
constexpr double end_reach = 8;
constexpr double line_reach = 5;

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
    constexpr double end_size = 2.5;
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
        const QPointF end = transform.to_widget({line.to.x, line.to.y});
        path.addRect(QRectF(end - QPointF(end_size, end_size), end + QPointF(end_size, end_size)));
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

std::optional<GraphTool::Grip> GraphTool::grip_at(const ViewMouse& mouse) const {
    const ViewTransform& transform = view_.transform();
    const auto away = [&](Point place) {
        const QPointF off = transform.to_widget({place.x, place.y}) - mouse.widget;
        return std::hypot(off.x(), off.y());
    };
    // The line drawn last lies on top.
    for (std::size_t i = lines_.size(); i-- > 0;) {
        const GraphLine& line = lines_[i];
        const auto grip = [&](Part part) {
            return Grip{i, part, line.from, line.to, place_of(mouse)};
        };
        const double to_start = away(line.from);
        const double to_end = away(line.to);
        if (std::min(to_start, to_end) <= end_reach)
            return grip(to_start < to_end ? Part::start : Part::end);
        const double dx = line.to.x - line.from.x;
        const double dy = line.to.y - line.from.y;
        const Point at = place_of(mouse);
        const double share = std::clamp(
            ((at.x - line.from.x) * dx + (at.y - line.from.y) * dy) / (dx * dx + dy * dy), 0.0,
            1.0);
        if (away({line.from.x + share * dx, line.from.y + share * dy}) <= line_reach)
            return grip(Part::whole);
    }
    return std::nullopt;
}

void GraphTool::drag(const ViewMouse& mouse) {
    const Grip& grip = *grip_;
    Point from = grip.from;
    Point to = grip.to;
    switch (grip.part) {
        case Part::start:
            from = end_of(mouse, to);
            break;
        case Part::end:
            to = end_of(mouse, from);
            break;
        case Part::whole: {
            const Point at = place_of(mouse);
            const double dx = at.x - grip.at.x;
            const double dy = at.y - grip.at.y;
            from = {from.x + dx, from.y + dy};
            to = {to.x + dx, to.y + dy};
            break;
        }
    }
    if (from != to && grip.line < lines_.size()) moved_(grip.line, from, to);
}

void GraphTool::press(const ViewMouse& mouse) {
    if (mouse.button != Qt::LeftButton) return;
    grip_ = grip_at(mouse);
    if (grip_) return;
    start_ = place_of(mouse);
    act(gesture_.press(start_));
}

void GraphTool::move(const ViewMouse& mouse) {
    if (grip_) return drag(mouse);
    if (!gesture_.active()) {
        const auto under = grip_at(mouse);
        view_.setCursor(!under                       ? cursor()
                        : under->part == Part::whole ? QCursor(Qt::SizeAllCursor)
                                                     : QCursor(Qt::PointingHandCursor));
    }
    act(gesture_.move(end_of(mouse, start_)));
}

void GraphTool::release(const ViewMouse& mouse) {
    if (mouse.button != Qt::LeftButton) return;
    if (grip_) {
        drag(mouse);
        grip_.reset();
        return;
    }
    act(gesture_.release(end_of(mouse, start_)));
}

void GraphTool::cancel() {
    if (grip_ && grip_->line < lines_.size()) moved_(grip_->line, grip_->from, grip_->to);
    grip_.reset();
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
