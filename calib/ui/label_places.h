#pragma once

#include <QLineF>
#include <QPointF>
#include <QRectF>
#include <QVector>

namespace vyn {

/// What labels must keep clear of, in pixels.
struct LabelSurroundings {
    QRectF canvas;
    qreal symbol_side = 0;   ///< of the square that a point's symbol fills
    QVector<QPointF> curve;  ///< near enough to each other that no label fits between two
};

/// Boxes for one label of the given size at each point: inside the canvas, and off the other
/// labels, the symbols and the curve, as far as there is room; otherwise where the least is
/// covered. The nearest places are tried first, and earlier points choose first, so that the
/// same points always give the same boxes.
QVector<QRectF> place_labels(const QVector<QPointF>& points, const QVector<QSizeF>& sizes,
                             const LabelSurroundings& surroundings);

/// From a label to its point; a null line where they are so near that nobody asks.
QLineF label_link(const QRectF& label, const QPointF& point, qreal symbol_side);

}  // namespace vyn
