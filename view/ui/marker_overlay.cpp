#include "view/ui/marker_overlay.h"

#include <QFontMetricsF>
#include <QPainterPath>
#include <cmath>

namespace vyn {

namespace {

constexpr double ring = 6;  // radii in widget pixels
constexpr double current_ring = 9.5;
constexpr double cross = 2.5;
constexpr double line_width = 1.6;
constexpr double halo_width = 4;
const QColor halo(0, 0, 0, 190);
const QColor inactive_colour(200, 200, 200);

/// The ring and what is in it.
QPainterPath marker_sign(QPointF at, bool active) {
    QPainterPath sign;
    sign.addEllipse(at, ring, ring);
    const auto line = [&sign](QPointF from, QPointF to) {
        sign.moveTo(from);
        sign.lineTo(to);
    };
    if (active) {
        line(at - QPointF(cross, 0), at + QPointF(cross, 0));
        line(at - QPointF(0, cross), at + QPointF(0, cross));
    } else {
        const QPointF corner(ring / std::sqrt(2.0), -ring / std::sqrt(2.0));
        line(at - corner, at + corner);
    }
    return sign;
}

}  // namespace

void draw_haloed(QPainter& painter, const QPainterPath& sign, const QColor& colour,
                 Qt::PenStyle style) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(halo, halo_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(sign);
    painter.setPen(QPen(colour, line_width, style, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(sign);
}

void MarkerOverlay::set_markers(const MarkerSet& set, std::optional<std::size_t> current) {
    set_ = set;
    current_ = current;
    dragged_.reset();
}

void MarkerOverlay::set_dragged(std::optional<std::size_t> index, Point place) {
    dragged_ = index;
    dragged_to_ = place;
}

void MarkerOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    constexpr double margin = 60;  // a number's reach
    const QRectF visible = QRectF(painter.viewport()).adjusted(-margin, -margin, margin, margin);
    for (std::size_t i = 0; i < set_.markers.size(); ++i) {
        const Marker& marker = set_.markers[i];
        const QPointF place =
            dragged_ == i ? QPointF(dragged_to_.x, dragged_to_.y) : QPointF(marker.x, marker.y);
        const QPointF at = transform.to_widget(place);
        if (visible.contains(at)) paint_marker(painter, marker, at, current_ == i);
    }
}

void MarkerOverlay::paint_marker(QPainter& painter, const Marker& marker, QPointF at,
                                 bool current) const {
    if (current) {
        QPainterPath outer;
        outer.addEllipse(at, current_ring, current_ring);
        draw_haloed(painter, outer, Qt::white);
    }
    draw_haloed(painter, marker_sign(at, marker.active), marker.active ? colour_ : inactive_colour,
                marker.active ? Qt::SolidLine : Qt::DotLine);
    const QPixmap& number = label(painter, marker.id, marker.active);
    const double reach = current ? current_ring : ring;
    painter.drawPixmap(
        at + QPointF(reach, -reach - number.height() / number.devicePixelRatio() / 2), number);
}

const QPixmap& MarkerOverlay::label(QPainter& painter, std::int32_t number, bool active) const {
    const double ratio = painter.device()->devicePixelRatioF();
    const qint64 key =
        (qint64{number} * 64 + static_cast<qint64>(ratio * 8) % 32) * 2 + (active ? 1 : 0);
    QPixmap& picture = labels_[key];
    if (!picture.isNull()) return picture;
    QFont font = painter.font();
    font.setBold(true);
    const QString text = QString::number(number);
    const QFontMetricsF metrics(font);
    const QSizeF size(metrics.horizontalAdvance(text) + 2 * halo_width,
                      metrics.height() + 2 * halo_width);
    picture = QPixmap((size * ratio).toSize());
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainterPath outline;
    outline.addText(halo_width, halo_width + metrics.ascent(), font, text);
    QPainter label_painter(&picture);
    label_painter.setRenderHint(QPainter::Antialiasing);
    label_painter.setPen(QPen(halo, halo_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    label_painter.drawPath(outline);
    label_painter.fillPath(outline, active ? colour_ : inactive_colour);
    return picture;
}

}  // namespace vyn
