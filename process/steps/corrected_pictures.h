#pragma once

#include <array>
#include <memory>

#include "process/steps/step.h"

namespace vyn {

/// The corrected pictures that the ratio is formed of, by their numbers in `raw_images`.
using CorrectedPictures = std::array<std::shared_ptr<const image>, 4>;

/// The numbers of those that a point as it stands has: two for one channel, four for two, and the
/// wind-on pictures of gates without wind-off pictures.
std::vector<std::size_t> pictures_of_ratio(const StepView& view);

/// Those pictures as a step takes them; where the alignment goes by markers they decide.
std::vector<StepImage> corrected_images(const StepView& view);

/// The pictures themselves. Nothing, with a line in the log, when one is missing. Raises IndexError
/// naming two pictures of one camera that differ in size.
std::optional<CorrectedPictures> corrected_pictures(const StepRun& run);

}  // namespace vyn
