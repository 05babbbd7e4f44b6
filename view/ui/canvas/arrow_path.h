#pragma once

#include <QPainterPath>

namespace vyn {

/// Adds an arrow with its head to a path, widget pixels; `along` from its tail to its tip.
void add_arrow(QPainterPath& arrows, QPointF from, QPointF along);

}  // namespace vyn
