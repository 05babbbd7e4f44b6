#include "view/ui/canvas/hatch_overlay.h"

#include <QImage>

namespace vyn {

void HatchOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    constexpr int distance = 7;  // of the lines, widget pixels
    const QRect widget = painter.viewport();
    const ViewRectangle seen{transform.origin.x(), transform.origin.y(), transform.zoom,
                             widget.width(), widget.height()};
    const std::vector<Stroke> strokes = hatch_strokes(hatching(), seen, distance);
    if (strokes.empty()) return;
    // Pixel by pixel, which the painter's own lines take ten times as long for. A dark line beside
    // a bright one is seen on every colour.
    QImage lines(widget.size(), QImage::Format_ARGB32_Premultiplied);
    lines.fill(Qt::transparent);
    for (const Stroke& stroke : strokes) {
        int x = static_cast<int>(stroke.front().x);
        for (int y = static_cast<int>(stroke.front().y); y < static_cast<int>(stroke.back().y);
             ++y) {
            auto* const row = reinterpret_cast<QRgb*>(lines.scanLine(y));
            row[--x] = qRgb(0, 0, 0);
            if (x + 1 < lines.width()) row[x + 1] = qRgb(255, 255, 255);
        }
    }
    painter.drawImage(widget.topLeft(), lines);
}

}  // namespace vyn
