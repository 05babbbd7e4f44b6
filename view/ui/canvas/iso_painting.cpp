#include "view/ui/canvas/iso_painting.h"

#include <QFontMetricsF>
#include <utility>

namespace vyn {

IsoDrawing number_iso_lines(std::vector<IsoLine> lines, QSizeF size, const QFont& font) {
    const QFontMetricsF metrics(font);
    return label_iso_lines(std::move(lines),
                           {metrics.capHeight(),
                            [&metrics](const std::string& text) {
                                return metrics.horizontalAdvance(QString::fromStdString(text));
                            }},
                           size.width(), size.height());
}

void paint_iso_drawing(QPainter& painter, const IsoDrawing& drawing,
                       const std::function<QColor(double level)>& ink) {
    constexpr double line_width = 1;
    const QFontMetricsF metrics(painter.font());
    painter.setRenderHint(QPainter::Antialiasing);
    for (const IsoLine& line : drawing.lines) {
        QPolygonF shape;
        for (const Point& place : line.places)
            shape.append({place.x, place.y});
        painter.setPen(QPen(ink(line.level), line_width));
        painter.drawPolyline(shape);
    }
    for (const IsoLabel& label : drawing.labels) {
        painter.setPen(ink(label.level));
        painter.drawText(QPointF(label.middle.x - label.width / 2 + metrics.capHeight() / 4,
                                 label.middle.y + metrics.capHeight() / 2),
                         QString::fromStdString(label.text));
    }
}

void paint_iso_lines(QPainter& painter, std::vector<IsoLine> lines, QSizeF size,
                     const std::function<QColor(double level)>& ink, IsoNumbers numbers) {
    paint_iso_drawing(painter,
                      numbers == IsoNumbers::shown
                          ? number_iso_lines(std::move(lines), size, painter.font())
                          : IsoDrawing{std::move(lines), {}},
                      ink);
}

}  // namespace vyn
