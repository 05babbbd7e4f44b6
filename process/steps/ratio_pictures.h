#pragma once

#include <optional>

#include "api/filters.h"
#include "process/point/experiment_type.h"
#include "process/steps/corrected_pictures.h"
#include "process/steps/step_settings.h"

namespace vyn {

/// Filters the pictures of a ratio where that is asked for.
void filter_pictures(CorrectedPictures& pictures, const std::optional<FilterOptions>& filter,
                     TaskContext& context);

/// The ratio of pictures that lie pixel on pixel: of one channel, of two, or of two gates without
/// wind-off pictures.
image ratio_of(const CorrectedPictures& pictures, const RatioLimits& limits, ExperimentType type,
               TaskContext& context);

/// Excludes what lies outside the region of any of the pictures: the operations work inside it
/// only, and outside, counts would pass for ratios.
void exclude_outside_regions(const CorrectedPictures& pictures, image& ratio);

}  // namespace vyn
