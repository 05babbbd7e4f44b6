#include "view/ui/canvas/iso_overlay.h"

#include <algorithm>
#include <utility>

#include "view/ui/canvas/iso_painting.h"

namespace vyn {

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
    paint_iso_lines(
        painter, std::move(lines), size, [this](double level) { return ink(level); },
        labels_ ? IsoNumbers::shown : IsoNumbers::none);
    return picture;
}

}  // namespace vyn
