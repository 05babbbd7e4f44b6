#pragma once

#include <memory>

#include "render/limits.h"

namespace vyn {

/// What is told of the values of an image while limits are chosen.
struct PictureValues {
    std::shared_ptr<const image> picture;  ///< null: none, and all the rest is empty
    ValueSummary summary;
    Histogram histogram;  ///< without far outliers, which would squeeze all else into one bar
};

/// Of an image less `subtracted`, unless null. Takes some 0.2 s for 16 megapixels.
PictureValues values_of(std::shared_ptr<const image> picture,
                        const std::shared_ptr<const image>& subtracted, Progress& progress);

}  // namespace vyn
