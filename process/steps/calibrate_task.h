#pragma once

#include <memory>
#include <string>

#include "calib/in_situ_calibration.h"
#include "core/task.h"
#include "process/point/session.h"

namespace vyn {

/// Fits the paint's law to pressure ports on the present ratio image. What came of it, the user's
/// warning included, stands in the outcome: a calibration that cannot be had is no failed task.
class CalibrateTask final : public Task {
  public:
    CalibrateTask(Session session, std::string port_file, InSituOptions options,
                  std::shared_ptr<InSituOutcome> outcome)
        : session_(session),
          port_file_(std::move(port_file)),
          options_(std::move(options)),
          outcome_(std::move(outcome)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::string port_file_;
    InSituOptions options_;
    std::shared_ptr<InSituOutcome> outcome_;
};

}  // namespace vyn
