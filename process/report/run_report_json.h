#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "api/image_list.h"
#include "core/data_set.h"
#include "core/task.h"
#include "process/report/run_report.h"

namespace vyn {

/// The whole report of a run: provenance, outcome, stages, alignment, conversion, images, warnings
/// with their kinds.
nlohmann::json to_json(const RunReport& report, const dataSetInterface& data,
                       const imagesList& images, TaskOutcome outcome, const std::string& failure,
                       const std::vector<StageTime>& stages);

}  // namespace vyn
