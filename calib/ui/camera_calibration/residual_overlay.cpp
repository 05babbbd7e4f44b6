#include "calib/ui/camera_calibration/residual_overlay.h"

#include "process/model/residual_picture.h"
#include "view/ui/canvas/arrow_path.h"

namespace vyn {

void ResidualOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    constexpr double dot_radius = 2.5;
    const double largest = largest_residual(markers_);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const MarkerResult& marker : markers_) {
        const QPointF at = transform.to_widget(QPointF(marker.dot.x, marker.dot.y));
        const double length = factor_ * transform.zoom;
        QPainterPath path;
        add_arrow(path, at, QPointF(length * marker.dx, length * marker.dy));
        const Canvas::Colour c = residual_colour(marker, largest);
        const QColor colour(c.red, c.green, c.blue);
        painter.setPen(QPen(QColor(255, 255, 255, 200), 3.5, Qt::SolidLine, Qt::RoundCap));
        painter.drawPath(path);
        painter.setPen(QPen(colour, 1.6, Qt::SolidLine, Qt::RoundCap));
        painter.drawPath(path);
        painter.setBrush(colour);
        painter.drawEllipse(at, dot_radius, dot_radius);
        painter.setBrush(Qt::NoBrush);
        const QPointF label = at + QPointF(6, -6);
        const QString number = QString::number(marker.marker_id);
        painter.setPen(Qt::white);
        for (const QPointF shift : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)})
            painter.drawText(label + shift, number);
        painter.setPen(Qt::black);
        painter.drawText(label, number);
    }
}

}  // namespace vyn
