#include "view/ui/region/lamp_monitor_overlay.h"

#include <QCoreApplication>

namespace vyn {

void LampMonitorOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    const auto corners = corners_();
    if (!corners) return;
    const auto& [from, to] = *corners;
    const QRectF outline(transform.to_widget({from.x - 0.5, from.y - 0.5}),
                         transform.to_widget({to.x + 0.5, to.y + 0.5}));
    painter.save();
    painter.setBrush(Qt::NoBrush);
    // A dark stroke below a dashed bright one is seen on every colour.
    painter.setPen(QPen(Qt::black, 3));
    painter.drawRect(outline);
    painter.setPen(QPen(Qt::yellow, 1, Qt::DashLine));
    painter.drawRect(outline);
    const QPointF text = outline.topLeft() + QPointF(4, -5);
    const QString name = QCoreApplication::translate("LampMonitorOverlay", "Lamp");
    painter.setPen(Qt::black);
    painter.drawText(text + QPointF(1, 1), name);
    painter.setPen(Qt::yellow);
    painter.drawText(text, name);
    painter.restore();
}

}  // namespace vyn
