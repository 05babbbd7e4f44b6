#pragma once

#include <memory>
#include <string>

#include "api/image_list.h"
#include "core/data_set.h"
#include "core/task.h"
#include "process/run_report.h"

namespace vyn {

/// What Calculate All runs for a single-channel test point: correct wind-off, correct wind-on,
/// align and form the ratio, calculate the field. An empty job while one of the two raw images is
/// missing; `report` is filled as the tasks run.
std::shared_ptr<Job> calculate_all(dataSetInterface& data, const imagesList& images,
                                   std::shared_ptr<RunReport> report);

}  // namespace vyn
