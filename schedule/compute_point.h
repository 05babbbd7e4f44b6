#pragma once

#include "core/task.h"
#include "schedule/point_state.h"
#include "schedule/shared_part.h"

namespace vyn {

/// Whether fields of pictures that could not be aligned, or poorly, are saved all the same.
enum class Unaligned { refused, allowed };

/// Computes a point in its folder: the project, the field and what else is to be saved, the report
/// (report.json), the check page (page.html) and a small picture (thumbnail.png). The images of a
/// point that failed are removed: they would pass as this one's.
///
/// Gives the state, which is not written; whatever goes wrong stands in it.
PointState compute_point(const Schedule& schedule, const SchedulePoint& point,
                         const SharedPart& shared, Unaligned unaligned, TaskContext& context);

}  // namespace vyn
