#include "view/ui/canvas/iso_overlay.h"

#include <QFontMetricsF>

#include "render/iso_labels.h"

namespace vyn {

namespace {

const QColor line_colour(20, 20, 20);
/// On both sides of a line: seen on dark colours.
const QColor rim_colour(255, 255, 255, 130);
constexpr double line_width = 1;
constexpr double rim_width = 3;

}  // namespace

void IsoOverlay::set_source(const ViewSource& source) {
    source_ = source;
    drawn_ = {};
}

void IsoOverlay::set_levels(std::vector<double> levels, bool labels) {
    if (levels == levels_ && labels == labels_) return;
    levels_ = std::move(levels);
    labels_ = labels;
    drawn_ = {};
}

void IsoOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    if (levels_.empty()) return;
    const QSize size = painter.viewport().size() * painter.device()->devicePixelRatioF();
    if (drawn_.size() != size || !(drawn_at_ == transform)) {
        drawn_ = draw(painter, transform);
        drawn_at_ = transform;
    }
    painter.drawPixmap(0, 0, drawn_);
}

QPixmap IsoOverlay::draw(const QPainter& onto, const ViewTransform& transform) const {
    const double ratio = onto.device()->devicePixelRatioF();
    const QSizeF size = onto.viewport().size();
    QPixmap picture((size * ratio).toSize());
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    const ViewRectangle seen{transform.origin.x(), transform.origin.y(), transform.zoom * ratio,
                             picture.width(), picture.height()};
    std::vector<IsoLine> lines = iso_lines(source_, seen, levels_);
    for (IsoLine& line : lines)
        for (Point& place : line.places) {
            const QPointF at = transform.to_widget({place.x, place.y});
            place = {at.x(), at.y()};
        }
    QPainter painter(&picture);
    painter.setFont(onto.font());
    const QFontMetricsF metrics(painter.font());
    IsoDrawing drawing;
    if (labels_)
        drawing = label_iso_lines(std::move(lines),
                                  {metrics.capHeight(),
                                   [&metrics](const std::string& text) {
                                       return metrics.horizontalAdvance(
                                           QString::fromStdString(text));
                                   }},
                                  size.width(), size.height());
    else
        drawing.lines = std::move(lines);
    painter.setRenderHint(QPainter::Antialiasing);
    std::vector<QPolygonF> shapes;
    for (const IsoLine& line : drawing.lines) {
        QPolygonF& shape = shapes.emplace_back();
        for (const Point& place : line.places)
            shape.append({place.x, place.y});
    }
    for (const QPen& pen : {QPen(rim_colour, rim_width), QPen(line_colour, line_width)}) {
        painter.setPen(pen);
        for (const QPolygonF& shape : shapes)
            painter.drawPolyline(shape);
    }
    for (const IsoLabel& label : drawing.labels) {
        const QRectF place(label.middle.x - label.width / 2, label.middle.y - label.height / 2,
                           label.width, label.height);
        painter.fillRect(place, rim_colour);
        painter.setPen(line_colour);
        painter.drawText(QPointF(place.left() + metrics.capHeight() / 4,
                                 label.middle.y + metrics.capHeight() / 2),
                         QString::fromStdString(label.text));
    }
    return picture;
}

}  // namespace vyn
