#include "view/ui/markers/marker_overlay.h"

#include <QFontMetricsF>
#include <QPainterPath>
#include <cmath>

namespace vyn {

namespace {

constexpr double ring = 7;  // radii in widget pixels
constexpr double tick = 11;
constexpr double current_ring = 13;
constexpr double reach = 16;  ///< of the whole sign
constexpr double line_width = 1.6;
constexpr double halo_width = 3.6;
constexpr std::size_t most_labels = 20000;
const QColor dark_halo(0, 0, 0, 200);
const QColor pale_halo(255, 255, 255, 200);
const QColor inactive_colour(205, 205, 205);

/// The ring and what belongs to it.
QPainterPath marker_sign(QPointF at, bool active) {
    QPainterPath sign;
    sign.addEllipse(at, ring, ring);
    const auto line = [&sign](QPointF from, QPointF to) {
        sign.moveTo(from);
        sign.lineTo(to);
    };
    if (active) {
        for (const QPointF& way : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)})
            line(at + ring * way, at + tick * way);
    } else {
        const QPointF corner(ring / std::sqrt(2.0), -ring / std::sqrt(2.0));
        line(at - corner, at + corner);
    }
    return sign;
}

QPixmap empty_picture(QSizeF size, double ratio) {
    QPixmap picture((size * ratio).toSize());
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    return picture;
}

}  // namespace

void draw_haloed(QPainter& painter, const QPainterPath& sign, const QColor& colour) {
    const QColor& halo = colour.lightnessF() < 0.45 ? pale_halo : dark_halo;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(halo, halo_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(sign);
    painter.setPen(QPen(colour, line_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
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
    if (!shown_) return;
    const double ratio = painter.device()->devicePixelRatioF();
    if (ratio != ratio_ || labels_.size() > most_labels) {
        signs_.clear();
        labels_.clear();
        ratio_ = ratio;
    }
    constexpr double margin = 60;  // a number's reach
    const QRectF visible = QRectF(painter.viewport()).adjusted(-margin, -margin, margin, margin);
    for (std::size_t i = 0; i < set_.markers.size(); ++i) {
        const Marker& marker = set_.markers[i];
        const QPointF place =
            dragged_ == i ? QPointF(dragged_to_.x, dragged_to_.y) : QPointF(marker.x, marker.y);
        const QPointF at = transform.to_widget(place);
        if (!visible.contains(at)) continue;
        const bool current = current_ == i;
        painter.drawPixmap(at - QPointF(reach, reach), sign(ratio, marker.active, current));
        if (labels_shown_ == MarkerLabels::none) continue;
        const QPixmap& number = label(painter.font(), ratio, marker.id, marker.active);
        const double height = number.height() / ratio;
        painter.drawPixmap(at + QPointF(current ? current_ring : ring, -ring - height / 2), number);
    }
}

const QPixmap& MarkerOverlay::sign(double ratio, bool active, bool current) const {
    QPixmap& picture = signs_[{active, current}];
    if (!picture.isNull()) return picture;
    picture = empty_picture(QSizeF(2 * reach, 2 * reach), ratio);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF middle(reach, reach);
    if (current) {
        QPainterPath outer;
        outer.addEllipse(middle, current_ring, current_ring);
        draw_haloed(painter, outer, Qt::white);
    }
    draw_haloed(painter, marker_sign(middle, active), active ? colour_ : inactive_colour);
    return picture;
}

const QPixmap& MarkerOverlay::label(const QFont& font, double ratio, std::int32_t number,
                                    bool active) const {
    QPixmap& picture = labels_[{number, active}];
    if (!picture.isNull()) return picture;
    QFont bold = font;
    bold.setBold(true);
    const QString doubt(labels_shown_ == MarkerLabels::doubted_numbers ? "?" : "");
    const QString text = QString::number(number) + doubt;
    const QFontMetricsF metrics(bold);
    picture = empty_picture(
        QSizeF(metrics.horizontalAdvance(text) + 2 * halo_width, metrics.height() + 2 * halo_width),
        ratio);
    QPainterPath outline;
    outline.addText(halo_width, halo_width + metrics.ascent(), bold, text);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(dark_halo, halo_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(outline);
    painter.fillPath(outline, active ? colour_ : inactive_colour);
    return picture;
}

}  // namespace vyn
