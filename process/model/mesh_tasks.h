#pragma once

#include <filesystem>
#include <string>
#include <utility>

#include "core/task.h"
#include "process/point/session.h"

namespace vyn {

/// Reads a mesh into the session and names it in the settings; values of the old one are gone. Mesh
/// and settings stay as they were when it cannot be read. Without a name the mesh is removed.
class OpenMeshTask final : public Task {
  public:
    /// `name`: of the file as the settings are to hold it.
    OpenMeshTask(Session session, std::string name) : session_(session), name_(std::move(name)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::string name_;
};

/// Names a file of markers on the model in the settings, once it has been read. Raises FileError
/// for one that holds none, or markers of images. Without a name they are removed.
class OpenModelMarkersTask final : public Task {
  public:
    OpenModelMarkersTask(Session session, std::string name)
        : session_(session), name_(std::move(name)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::string name_;
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
