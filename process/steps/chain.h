#pragma once

#include <memory>
#include <string>

#include "api/image_list.h"
#include "core/data_set.h"
#include "core/task.h"
#include "process/report/run_report.h"

namespace vyn {

/// The part of Calculate All up to the ratio image: correct every picture that the experiment type
/// uses, align them and form the ratio. An empty job while something is missing (missing_input says
/// what); `report` is filled as the tasks run.
std::shared_ptr<Job> calculate_ratio(dataSetInterface& data, const imagesList& images,
                                     const std::shared_ptr<RunReport>& report);

/// What Calculate All runs: the ratio, then the field. An empty job as above.
std::shared_ptr<Job> calculate_all(dataSetInterface& data, const imagesList& images,
                                   std::shared_ptr<RunReport> report);

}  // namespace vyn
