#pragma once

#include <QString>

#include "process/point/raw_images.h"

class QWidget;

namespace vyn {

/// Asks where to save the mask of an image; `raw` is the camera picture that it is, or null. Empty
/// when cancelled.
QString ask_mask_file_to_save(QWidget* parent, const image& picture, const RawImage* raw);

}  // namespace vyn
