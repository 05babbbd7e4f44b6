#pragma once

#include <functional>
#include <vector>

#include "process/steps/corrected_pictures.h"
#include "process/steps/step.h"
#include "uncertainty/uncertainty_map.h"

namespace vyn {

/// What is entered of it, pixels.
struct PlaceSigmas {
    double marker = 0;        ///< of a marker in one picture
    double registration = 0;  ///< where neither markers nor texture tell; 0: not known
};

/// The pictures that errors of the alignment move, and by how much in pixels of the frame: known
/// from texture, markers or a number, the first that there is. `index_of` gives the place among the
/// point's pictures of a number in `raw_images`.
std::vector<MovedPictures> moved_pictures(const StepRun& run, const CorrectedPictures& pictures,
                                          const image& frame, const PlaceSigmas& entered,
                                          const std::function<std::size_t(std::size_t)>& index_of);

}  // namespace vyn
