#pragma once

#include <string>
#include <vector>

#include "schedule/survey.h"

namespace vyn {

/// The run as comma-separated values: one row a point with its state, reason and every figure that
/// one of the points has; numbers read back to the same bits.
std::string summary_csv(const Schedule& schedule, const std::vector<PointStatus>& statuses);

/// The run as one page that needs no other file: a sortable row a point with a small picture, its
/// figures (those beyond a limit in red) and warnings, trends of the figures along the run, and
/// links to the points' own pages beside it. Without scripts it shows all the same, unsorted.
std::string index_page(const Schedule& schedule, const std::vector<PointStatus>& statuses,
                       const FigureLimits& limits);

}  // namespace vyn
