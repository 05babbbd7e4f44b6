#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "api/image_list.h"
#include "core/data_set.h"
#include "core/task.h"
#include "process/report/run_report.h"

namespace vyn {

/// Pairs, residuals and coefficients of an alignment by markers, or why there is none.
nlohmann::json to_json(const MarkerMatch& match);
/// What the alignment by texture found, or why it failed.
nlohmann::json to_json(const CorrelationReport& found);

/// The whole report of a run: provenance, outcome, stages, alignment, conversion, images, warnings
/// with their kinds.
nlohmann::json to_json(const RunReport& report, const dataSetInterface& data,
                       const imagesList& images, TaskOutcome outcome, const std::string& failure,
                       const std::vector<StageTime>& stages);

}  // namespace vyn
