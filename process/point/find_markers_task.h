#pragma once

#include <memory>

#include "align/dots/marker_detection.h"
#include "core/task.h"
#include "process/point/session.h"
#include "process/report/run_report.h"

namespace vyn {

/// Finds the markers of the raw images that are aligned by them, that have none and whose marker
/// file the project does not name, in pixels of the camera, and lets the alignment pair them by
/// their places. Fails, with the reason in the report, when an image shows no dots.
class FindMarkersTask final : public Task {
  public:
    FindMarkersTask(Session session, DetectionOptions options, std::shared_ptr<RunReport> report)
        : session_(session), options_(options), report_(std::move(report)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    DetectionOptions options_;
    std::shared_ptr<RunReport> report_;
};

}  // namespace vyn
