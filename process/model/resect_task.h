#pragma once

#include <filesystem>
#include <memory>
#include <utility>

#include "core/task.h"
#include "process/point/session.h"
#include "process/report/run_report.h"

namespace vyn {

/// Finds where the signal camera stood and puts the field on the session's mesh: the last step of
/// Calculate All where a mesh is loaded. The pose goes into the settings. Raises AlgoError
/// "Field3D:2d field is absent", "Field3D:3d field is absent" and "Resection Failed!"; mesh and
/// settings are then as they were.
class ResectTask final : public Task {
  public:
    ResectTask(Session session, std::shared_ptr<RunReport> report)
        : session_(session), report_(std::move(report)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::shared_ptr<RunReport> report_;
};

/// Writes the session's mesh with its values.
class SaveMeshTask final : public Task {
  public:
    SaveMeshTask(Session session, std::filesystem::path file)
        : session_(session), file_(std::move(file)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::filesystem::path file_;
};

}  // namespace vyn
