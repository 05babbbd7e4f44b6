#pragma once

#include <QColor>
#include <QPainter>
#include <functional>
#include <vector>

#include "render/iso_lines.h"

namespace vyn {

enum class IsoNumbers { none, shown };

/// Draws lines of equal value, places in the painter's coordinates, in the ink of their level; with
/// numbers where these have room in a picture of this size.
void paint_iso_lines(QPainter& painter, std::vector<IsoLine> lines, QSizeF size,
                     const std::function<QColor(double level)>& ink, IsoNumbers numbers);

}  // namespace vyn
