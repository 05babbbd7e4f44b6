#pragma once

#include <optional>

#include "align/marker_alignment.h"
#include "api/field_conversion.h"
#include "api/filters.h"
#include "core/data_set.h"
#include "core/task.h"
#include "process/report/run_report.h"

namespace vyn {

/// The steps that every way to a ratio image shares, with the project's settings.

RatioLimits ratio_limits(dataSetInterface& data);
MarkerMatchOptions match_options(dataSetInterface& data);
/// Nothing when filtering is off.
std::optional<FilterOptions> filter_options(dataSetInterface& data);

/// Warns when the alignment by cross-correlation is asked for.
void warn_of_correlation(dataSetInterface& data, RunReport& report);

/// Matches the markers of two images; log and warnings are written. Nothing when one of the images
/// has no markers.
std::optional<MarkerMatch> match_images(const image& reference, const image& moved,
                                        const MarkerMatchOptions& options, RunReport& report);

/// Thins the valid area when that is asked for.
void thin_if_asked(image& ratio, dataSetInterface& data, TaskContext& context);

}  // namespace vyn
