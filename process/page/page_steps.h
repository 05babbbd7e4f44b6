#pragma once

#include <memory>
#include <string_view>

#include "core/task.h"
#include "process/page/requirements.h"
#include "process/point/session.h"
#include "process/report/run_report.h"

namespace vyn {

/// What a step of an experiment page runs. An empty job while something is missing for it, and for
/// the steps that are dialogs.
std::shared_ptr<Job> page_job(PageStep step, Session session,
                              const std::shared_ptr<RunReport>& report);

/// True when the step publishes this result anew, so that what was drawn on it goes.
bool replaces(PageStep step, const StepView& view, std::string_view result);

}  // namespace vyn
