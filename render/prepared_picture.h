#pragma once

#include <memory>
#include <optional>

#include "render/image_levels.h"
#include "render/limits.h"

namespace vyn {

/// What a viewer needs to show an image; takes some 0.1 s for 16 megapixels.
struct PreparedPicture {
    std::shared_ptr<const ImageLevels> levels;
    std::optional<Limits> limits;  ///< of display, when they were asked for
};

/// Raises AlgoError or DimError for an image without matching values and mask. `earlier`: what was
/// shown before, or null.
PreparedPicture prepare_picture(const std::shared_ptr<const image>& picture,
                                const ImageLevels* earlier, bool with_limits, Progress& progress);

}  // namespace vyn
