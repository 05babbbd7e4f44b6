#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/task.h"
#include "process/report/run_report.h"
#include "process/steps/step.h"
#include "schedule/schedule.h"

namespace vyn {

/// What points have in common, computed once: their wind-off pictures, dark images and flat fields
/// as read, the wind-off pictures corrected, with what was found out on the way. The mesh and its
/// rays are kept by the process itself (mesh_cache.h).
struct SharedPart {
    /// A wind-off picture's correction and the warnings of it.
    struct Corrected {
        StepId step;
        std::shared_ptr<const image> picture;
        std::vector<Warning> warnings;
    };
    std::vector<std::shared_ptr<const image>> loaded;
    std::vector<Corrected> corrected;
};

/// Equal texts where points may have a part in common: those of everything but the wind-on
/// pictures and the test conditions.
std::string share_key(const SchedulePoint& point);

/// Computes it from one of the points, whose project it writes into its folder. What cannot be read
/// or computed is left out: the points then say why themselves. Raises Aborted.
SharedPart make_shared_part(const Schedule& schedule, const SchedulePoint& point,
                            TaskContext& context);

/// Puts what the shared part holds and what would come out the same for this point into its
/// session, which was read with `loaded`; gives the steps that need not run.
std::vector<StepId> take_shared_part(const SharedPart& shared, const Session& session,
                                     RunReport& report);

}  // namespace vyn
