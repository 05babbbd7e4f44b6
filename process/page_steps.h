#pragma once

#include <memory>

#include "core/task.h"
#include "process/requirements.h"
#include "process/run_report.h"

namespace vyn {

/// What a step of an experiment page runs; results know their origin afterwards. An empty job while
/// something is missing for it, and for the steps that are dialogs.
std::shared_ptr<Job> page_job(PageStep step, dataSetInterface& data, const imagesList& images,
                              const std::shared_ptr<RunReport>& report);

}  // namespace vyn
