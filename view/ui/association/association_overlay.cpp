#include "view/ui/association/association_overlay.h"

#include <QFontMetricsF>
#include <QPainterPath>
#include <algorithm>

#include "render/colour_map.h"
#include "view/ui/canvas/arrow_path.h"
#include "view/ui/markers/marker_overlay.h"

namespace vyn {

namespace {

constexpr double ring = 10;  // radius in widget pixels
const QColor ring_colour(0, 229, 255);
const QColor told_colour(118, 255, 3);
const QColor rejected_colour(255, 82, 82);
const QColor halo(0, 0, 0, 200);

QColor colour_of(const AssociationRow& row) {
    if (row.state == AssociationRow::State::rejected) return rejected_colour;
    return row.told ? told_colour : ring_colour;
}

}  // namespace

void AssociationOverlay::set_residuals(double enlarged,
                                       std::shared_ptr<const palette_array> palette) {
    enlarged_ = enlarged;
    palette_ = std::move(palette);
}

QPointF AssociationOverlay::place(Point raw, const ViewTransform& transform) const {
    const Point pixel = lens_ ? ideal_position(*lens_, raw) : raw;
    return transform.to_widget({pixel.x, pixel.y});
}

void AssociationOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    if (!shown_) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr double margin = 60;  // a number's reach
    const QRectF visible = QRectF(painter.viewport()).adjusted(-margin, -margin, margin, margin);
    for (const AssociationRow& row : rows_) {
        const bool dragged = dragged_ && dragged_->number == row.number;
        const QPointF at = place(dragged ? dragged_->place : row.ring, transform);
        if (visible.contains(at)) draw_ring(painter, at, row);
        if (dragged && dragged_->dot) {
            QPainterPath target;
            target.addEllipse(place(*dragged_->dot, transform), 1.6 * ring, 1.6 * ring);
            draw_haloed(painter, target, Qt::white);
        }
    }
    if (enlarged_ > 0 && palette_) draw_residuals(painter, transform);
    painter.restore();
}

void AssociationOverlay::draw_ring(QPainter& painter, QPointF at, const AssociationRow& row) const {
    const QColor colour = colour_of(row);
    painter.setBrush(Qt::NoBrush);
    for (const QPen& pen : {QPen(halo, 3.6), QPen(colour, 1.6)}) {
        QPen drawn = pen;
        if (row.hidden) {
            drawn.setDashPattern({2.4 / pen.widthF(), 4.8 / pen.widthF()});
            drawn.setCapStyle(Qt::FlatCap);
        }
        painter.setPen(drawn);
        painter.drawEllipse(at, ring, ring);
    }
    // The dot that is used has the same number beside it.
    if (row.state == AssociationRow::State::used) return;
    QPainterPath number;
    const QString text = QString::number(row.number);
    const QFontMetricsF metrics(painter.font());
    number.addText(at + QPointF(-ring - metrics.horizontalAdvance(text), ring + 2), painter.font(),
                   text);
    painter.setPen(QPen(halo, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(number);
    painter.fillPath(number, colour);
}

void AssociationOverlay::draw_residuals(QPainter& painter, const ViewTransform& transform) const {
    double longest = 0;
    for (const AssociationRow& row : rows_)
        if (row.state == AssociationRow::State::used) longest = std::max(longest, row.length());
    const colour_map colours(0, longest > 0 ? longest : 1, *palette_);
    for (const AssociationRow& row : rows_) {
        if (!row.dot || row.length() == 0) continue;
        const QPointF from = place(row.ring, transform);
        const bool used = row.state == AssociationRow::State::used;
        // What is far off reaches its dot, and no farther.
        const double factor = used ? enlarged_ * transform.zoom : transform.zoom;
        const QColor colour =
            used ? QColor::fromRgb(colours.colour(static_cast<float>(row.length()), false, true))
                 : colour_of(row);
        QPainterPath path;
        add_arrow(path, from, factor * QPointF(row.dx, row.dy));
        draw_haloed(painter, path, colour);
    }
}

}  // namespace vyn
