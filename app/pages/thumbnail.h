#pragma once

#include <QImage>
#include <QSize>

#include "api/image.h"
#include "render/palette.h"

namespace vyn {

/// A small picture of an image, at most so large: every so manyth pixel between the 1st and 99th
/// percentile of what is seen; excluded pixels are transparent. Null for an empty image.
QImage thumbnail(const image& picture, QSize most, const palette_array& palette);

}  // namespace vyn
