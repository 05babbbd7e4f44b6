#pragma once

#include <QImage>
#include <QSize>
#include <QString>

#include "api/image.h"
#include "render/palette.h"

namespace vyn {

/// A small picture of an image and what its colours stand for.
struct Thumbnail {
    QImage picture;
    double low = 0;  ///< value of the palette's first colour
    double high = 0;
    QString label;  ///< quantity and unit
};

/// At most so large: every so manyth pixel between the 1st and 99th percentile of what is seen;
/// excluded pixels are transparent. A null picture for an empty image.
Thumbnail thumbnail(const image& picture, QSize most, const palette_array& palette);

}  // namespace vyn
