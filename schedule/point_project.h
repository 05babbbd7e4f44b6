#pragma once

#include <memory>

#include "process/project/project_tasks.h"
#include "schedule/schedule.h"

namespace vyn {

/// Writes a point's settings as a project file into its folder, which exists: it opens in the
/// window, and computed alone it gives the same. Raises FileError.
void write_point_project(const Schedule& schedule, const SchedulePoint& point);

/// The project file of a point for opening: written where there is none or the table says something
/// else by now. Makes the folder. Raises FileError.
std::filesystem::path project_of_point(const Schedule& schedule, const SchedulePoint& point);

/// How that project is opened; pictures of a base that is a container come from there.
ReadProject point_request(const Schedule& schedule, const SchedulePoint& point,
                          std::shared_ptr<RunReport> report);

}  // namespace vyn
