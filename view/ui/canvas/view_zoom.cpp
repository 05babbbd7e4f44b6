#include "view/ui/canvas/view_zoom.h"

#include <algorithm>
#include <cmath>

namespace vyn {

double zoom_factor(double steps) {
    return std::exp2(steps / 2);
}

ViewTransform zoomed(const ViewTransform& old, QPointF widget, double factor) {
    double zoom = std::clamp(old.zoom * factor, least_zoom, most_zoom);
    const double power = zoom_factor(std::round(2 * std::log2(zoom)));
    if (std::abs(zoom - power) < 1e-9 * power) zoom = power;
    return {zoom, old.to_image(widget) - widget / zoom};
}

ViewTransform fitted(int width, int height, QSizeF widget) {
    if (width <= 0 || height <= 0 || widget.isEmpty()) return {};
    const double zoom = std::clamp(std::min(widget.width() / width, widget.height() / height),
                                   least_zoom, most_zoom);
    const QPointF image_middle((width - 1) / 2.0, (height - 1) / 2.0);
    return {zoom, image_middle - QPointF(widget.width(), widget.height()) / 2 / zoom};
}

ViewTransform held_in_view(ViewTransform transform, ImageSize size, QSizeF widget) {
    const QPointF half = QPointF(widget.width(), widget.height()) / 2 / transform.zoom;
    const QPointF middle = transform.origin + half;
    const QPointF held(std::clamp(middle.x(), -0.5, std::max(size.width - 0.5, -0.5)),
                       std::clamp(middle.y(), -0.5, std::max(size.height - 0.5, -0.5)));
    transform.origin = held - half;
    return transform;
}

}  // namespace vyn
