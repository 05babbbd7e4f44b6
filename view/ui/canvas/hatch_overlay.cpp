#include "view/ui/canvas/hatch_overlay.h"

#include <QImage>
#include <cmath>

namespace vyn {

void HatchOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    if (!sigma_ || !limit_) return;
    const auto limit = static_cast<float>(limit_());
    if (!(limit > 0)) return;
    constexpr int distance = 7;  // of the strokes, widget pixels
    const QRect widget = painter.viewport();
    QImage strokes(widget.size(), QImage::Format_ARGB32_Premultiplied);
    strokes.fill(Qt::transparent);
    const Bitmap<float>& values = sigma_->values();
    const Bitmap<std::uint8_t>& mask = sigma_->mask();
    const auto above = [&](int x, int y) {
        const QPointF place = transform.to_image({x + 0.5, y + 0.5});
        const int column = static_cast<int>(std::floor(place.x() + 0.5));
        const int row = static_cast<int>(std::floor(place.y() + 0.5));
        return values.contains(column, row) && mask(column, row) == 0 &&
               values(column, row) > limit;
    };
    // A dark stroke beside a bright one is seen on every colour.
    for (int y = 0; y < strokes.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(strokes.scanLine(y));
        for (int x = (distance - y % distance) % distance; x + 1 < strokes.width(); x += distance)
            if (above(x, y)) {
                line[x] = qRgb(0, 0, 0);
                line[x + 1] = qRgb(255, 255, 255);
            }
    }
    painter.drawImage(widget.topLeft(), strokes);
}

}  // namespace vyn
