#pragma once

#include <memory>
#include <string>

#include "api/image.h"
#include "core/task.h"
#include "process/report/run_report.h"

namespace vyn {

/// Which images the ratio is formed of.
struct RatioImages {
    std::string wind_off;
    std::string wind_on;
    std::string aligned;  ///< name for the aligned wind-on image
    std::string ratio;
};

/// Filters copies of the corrected images where that is asked for, aligns the wind-on to the
/// wind-off image, forms their ratio and thins it. An alignment that fails is reported and the
/// ratio formed of the unaligned image (outcome done_with_errors).
class RatioTask final : public Task {
  public:
    RatioTask(RatioImages names, std::shared_ptr<RunReport> report)
        : names_(std::move(names)), report_(std::move(report)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    std::shared_ptr<const image> align_by_markers(const image& wind_off,
                                                  const std::shared_ptr<const image>& wind_on,
                                                  TaskContext& context);
    bool accept_copy(const MarkerMatch& match, TaskContext& context) const;

    RatioImages names_;
    std::shared_ptr<RunReport> report_;
};

}  // namespace vyn
