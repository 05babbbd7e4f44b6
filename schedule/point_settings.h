#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/data_set.h"
#include "schedule/schedule.h"

namespace vyn {

/// The settings of a point as a project of its own in its folder of the results: base and table
/// together, names of files taken from the base's folder to there. Outputs go to that folder, and
/// the point's name is the test point's identification, where the table does not say otherwise.
void put_point_settings(const Schedule& schedule, const SchedulePoint& point,
                        dataSetInterface& data);

/// The input files that a point names: path of the setting and name, relative ones to the folder
/// of its base. What a container holds is no file.
std::vector<std::pair<std::string_view, std::string>> named_inputs(const SchedulePoint& point);

}  // namespace vyn
