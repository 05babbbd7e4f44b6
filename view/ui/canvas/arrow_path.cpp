#include "view/ui/canvas/arrow_path.h"

#include "render/arrow.h"

namespace vyn {

void add_arrow(QPainterPath& arrows, QPointF from, QPointF along) {
    for (const Stroke& stroke : arrow({from.x(), from.y()}, {along.x(), along.y()})) {
        arrows.moveTo(stroke.front().x, stroke.front().y);
        for (const Point& p : stroke)
            arrows.lineTo(p.x, p.y);
    }
}

}  // namespace vyn
