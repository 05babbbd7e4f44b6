#include "view/ui/markers/port_overlay.h"

#include "calib/port_sampling.h"

namespace vyn {

namespace {

constexpr double arm = 4;  // of the cross, widget pixels

/// The square's outline around whole pixels, whose centres are whole positions.
QRectF outline(const PixelBox& box, const ViewTransform& transform) {
    return {transform.to_widget(QPointF(box.left - 0.5, box.top - 0.5)),
            transform.to_widget(QPointF(box.right + 0.5, box.bottom + 0.5))};
}

}  // namespace

void PortOverlay::set_ports(MarkerSet ports, int side) {
    ports_ = std::move(ports);
    side_ = side;
}

void PortOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    const QRectF seen = painter.viewport();
    // Light on a dark rim: readable on every palette.
    const QPen pens[] = {QPen(QColor(20, 20, 20), 3), QPen(Qt::white, 1)};
    painter.setBrush(Qt::NoBrush);
    for (const Marker& port : ports_.markers) {
        if (!port.active) continue;
        const QPointF place = transform.to_widget(QPointF(port.x, port.y));
        const QRectF square = outline(averaged_box(port, side_), transform);
        if (!seen.intersects(square) && !seen.contains(place)) continue;
        for (const QPen& pen : pens) {
            painter.setPen(pen);
            if (side_ > 0) painter.drawRect(square);
            painter.drawLine(place - QPointF(arm, 0), place + QPointF(arm, 0));
            painter.drawLine(place - QPointF(0, arm), place + QPointF(0, arm));
        }
        const QString number = QString::number(port.id);
        const QPointF beside(std::max(square.right(), place.x() + arm) + 3, place.y() - arm);
        painter.setPen(pens[0]);
        painter.drawText(beside + QPointF(1, 1), number);
        painter.setPen(pens[1]);
        painter.drawText(beside, number);
    }
}

}  // namespace vyn
