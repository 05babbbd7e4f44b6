#pragma once

#include <QColor>
#include <QPainter>
#include <functional>
#include <vector>

#include "render/iso_labels.h"

namespace vyn {

enum class IsoNumbers { none, shown };

/// Lines of equal value with numbers, in letters of this font, where these have room in a picture
/// of this size; places in its pixels.
IsoDrawing number_iso_lines(std::vector<IsoLine> lines, QSizeF size, const QFont& font);
/// In the ink of each level; the font is that of the numbers.
void paint_iso_drawing(QPainter& painter, const IsoDrawing& drawing,
                       const std::function<QColor(double level)>& ink);

/// Draws lines of equal value, places in the painter's coordinates, in the ink of their level; with
/// numbers where these have room in a picture of this size.
void paint_iso_lines(QPainter& painter, std::vector<IsoLine> lines, QSizeF size,
                     const std::function<QColor(double level)>& ink, IsoNumbers numbers);

}  // namespace vyn
