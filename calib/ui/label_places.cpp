#include "calib/ui/label_places.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vyn {

namespace {

constexpr qreal gap = 2;  // between symbol and nearest label, pixels
constexpr int rings = 40;
constexpr qreal ring_step = 0.4;     // between one ring of tries and the next, label heights
constexpr qreal outside_cost = 100;  // of a pixel, when a covered one costs 1

/// On the square around a symbol: right above first, as the eye expects it.
constexpr std::array<QPointF, 16> directions{{{1, -1},
                                              {1, 0},
                                              {0, -1},
                                              {1, 1},
                                              {-1, -1},
                                              {-1, 0},
                                              {0, 1},
                                              {-1, 1},
                                              {1, -0.5},
                                              {1, 0.5},
                                              {-1, -0.5},
                                              {-1, 0.5},
                                              {0.5, -1},
                                              {-0.5, -1},
                                              {0.5, 1},
                                              {-0.5, 1}}};

QRectF square(const QPointF& centre, qreal side) {
    return {centre.x() - side / 2, centre.y() - side / 2, side, side};
}

QRectF candidate(const QPointF& point, const QSizeF& size, const QPointF& direction,
                 qreal distance) {
    QRectF box({}, size);
    box.moveCenter({point.x() + direction.x() * (distance + size.width() / 2),
                    point.y() + direction.y() * (distance + size.height() / 2)});
    return box;
}

qreal covered_area(const QRectF& box, const QVector<QRectF>& taken) {
    qreal area = 0;
    for (const QRectF& other : taken) {
        const QRectF common = box.intersected(other);
        area += common.width() * common.height();
    }
    return area;
}

qreal area_outside(const QRectF& box, const QRectF& canvas) {
    const QRectF inside = box.intersected(canvas);
    return box.width() * box.height() - inside.width() * inside.height();
}

QRectF best_place(const QPointF& point, const QSizeF& size, const LabelSurroundings& surroundings,
                  const QVector<QRectF>& taken) {
    QRectF best;
    qreal least = -1;
    for (int ring = 0; ring < rings; ++ring)
        for (const auto& direction : directions) {
            const qreal distance =
                surroundings.symbol_side / 2 + gap + ring * ring_step * size.height();
            const QRectF box = candidate(point, size, direction, distance);
            const qreal cost =
                outside_cost * area_outside(box, surroundings.canvas) + covered_area(box, taken);
            if (cost <= 0) return box;
            if (least >= 0 && cost >= least) continue;
            least = cost;
            best = box;
        }
    return best;
}

}  // namespace

QVector<QRectF> place_labels(const QVector<QPointF>& points, const QVector<QSizeF>& sizes,
                             const LabelSurroundings& surroundings) {
    QVector<QRectF> taken;
    for (const QPointF& point : points)
        taken.append(square(point, surroundings.symbol_side));
    for (const QPointF& place : surroundings.curve)
        taken.append(square(place, gap));
    QVector<QRectF> labels;
    for (int i = 0; i < points.size(); ++i) {
        labels.append(best_place(points[i], sizes[i], surroundings, taken));
        taken.append(labels.last());
    }
    return labels;
}

QLineF label_link(const QRectF& label, const QPointF& point, qreal symbol_side) {
    const QPointF nearest(std::clamp(point.x(), label.left(), label.right()),
                          std::clamp(point.y(), label.top(), label.bottom()));
    const QLineF link(nearest, point);
    const qreal beyond_symbol = link.length() - symbol_side / std::sqrt(2.0);
    return beyond_symbol < ring_step * label.height() ? QLineF() : link;
}

}  // namespace vyn
