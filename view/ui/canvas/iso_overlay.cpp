#include "view/ui/canvas/iso_overlay.h"

#include <QFontMetricsF>
#include <algorithm>

#include "render/iso_labels.h"

namespace vyn {

namespace {

constexpr double line_width = 1;

}  // namespace

void IsoOverlay::set_source(const ViewSource& source) {
    source_ = source;
    drawn_ = {};
}

void IsoOverlay::set_fashion(const Fashion& fashion, const colour_map& colours) {
    levels_ = fashion.iso.levels(fashion.limits);
    labels_ = fashion.iso.labels;
    inks_.clear();
    for (const double level : levels_)
        inks_.emplace_back(iso_ink(colours, level));
    drawn_ = {};
}

QColor IsoOverlay::ink(double level) const {
    const auto found = std::ranges::lower_bound(levels_, level);
    return found == levels_.end() ? QColor(Qt::black)
                                  : inks_[static_cast<std::size_t>(found - levels_.begin())];
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
        drawing =
            label_iso_lines(std::move(lines),
                            {metrics.capHeight(),
                             [&metrics](const std::string& text) {
                                 return metrics.horizontalAdvance(QString::fromStdString(text));
                             }},
                            size.width(), size.height());
    else
        drawing.lines = std::move(lines);
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
    return picture;
}

}  // namespace vyn
