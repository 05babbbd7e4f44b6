#include "view/ui/canvas/vector_overlay.h"

#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "render/view_source.h"
#include "view/ui/canvas/arrow_path.h"

namespace vyn {

namespace {

/// First and last drawn node of a row or column of them that lies in the widget, with a margin for
/// arrows that reach into it.
struct Nodes {
    int first;
    int last;
};
Nodes nodes_in_view(double from, double to, int step, int skip, int count) {
    const double pace = static_cast<double>(step) * skip;
    const double first = std::clamp(std::floor(from / pace) - 2, 0.0, 1e6);
    const double last = std::clamp(std::ceil(to / pace) + 2, 0.0, 1e6);
    return {static_cast<int>(first) * skip, std::min(static_cast<int>(last) * skip, count - 1)};
}

}  // namespace

void VectorOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    if (!style_.shown || !picture_ || !picture_->displacement) return;
    const Displacement& map = *picture_->displacement;
    const int step = node_pitch(*picture_);
    const QRectF widget = painter.clipBoundingRect();
    const QPointF from = transform.to_image(widget.topLeft());
    const QPointF to = transform.to_image(widget.bottomRight());
    const Nodes columns = nodes_in_view(from.x(), to.x(), step, style_.u_skip,
                                        std::min(map.u.width(), map.v.width()));
    const Nodes rows = nodes_in_view(from.y(), to.y(), step, style_.v_skip,
                                     std::min(map.u.height(), map.v.height()));
    QPainterPath arrows;
    for (int r = rows.first; r <= rows.last; r += style_.v_skip)
        for (int c = columns.first; c <= columns.last; c += style_.u_skip) {
            const int x = c * step;
            const int y = r * step;
            if (picture_->mask().contains(x, y) && picture_->mask()(x, y)) continue;
            const QPointF vector(static_cast<double>(map.u(c, r)),
                                 static_cast<double>(map.v(c, r)));
            add_arrow(arrows, transform.to_widget(QPointF(x, y)),
                      vector * style_.scale * transform.zoom);
        }
    // Dark on a light rim: readable on every palette.
    painter.setPen(QPen(QColor(255, 255, 255, 180), 3, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(arrows);
    painter.setPen(QPen(QColor(20, 20, 20), 1.2, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(arrows);
}

}  // namespace vyn
