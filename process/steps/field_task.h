#pragma once

#include <memory>
#include <string>

#include "core/task.h"
#include "process/report/run_report.h"

namespace vyn {

/// Converts a ratio image into the quantity that the project asks for, by the paint law and the
/// test conditions. Does nothing when there is no ratio.
class FieldTask final : public Task {
  public:
    FieldTask(std::string ratio, std::string field, std::shared_ptr<RunReport> report)
        : ratio_(std::move(ratio)), field_(std::move(field)), report_(std::move(report)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    std::string ratio_;
    std::string field_;
    std::shared_ptr<RunReport> report_;
};

}  // namespace vyn
