#pragma once

#include <memory>
#include <string_view>

#include "core/task.h"
#include "process/page/requirements.h"
#include "process/point/experiment_type.h"
#include "process/report/run_report.h"

namespace vyn {

/// What a step of an experiment page runs; results know their origin afterwards. An empty job while
/// something is missing for it, and for the steps that are dialogs.
std::shared_ptr<Job> page_job(PageStep step, dataSetInterface& data, const imagesList& images,
                              const std::shared_ptr<RunReport>& report);

/// True when the step publishes this result anew, so that what was drawn on it goes.
bool replaces(PageStep step, ExperimentType type, std::string_view result);

}  // namespace vyn
