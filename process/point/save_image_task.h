#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "core/task.h"
#include "process/point/session.h"

namespace vyn {

/// Writes an image of the image list to a file, with its provenance; the extension picks the
/// format. Fails when there is no image of that name.
class SaveImageTask final : public Task {
  public:
    SaveImageTask(Session session, std::string name, std::filesystem::path file)
        : session_(session), name_(std::move(name)), file_(std::move(file)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::string name_;
    std::filesystem::path file_;
};

/// The files that the project names for the field and its markers and, where a mesh is loaded and
/// such a file is named, for the field on it.
std::vector<std::filesystem::path> named_field_files(const Session& session);

/// The files of these that saving the field writes: markers where it has any, the mesh where it has
/// values. None while there is no field.
std::vector<std::filesystem::path> field_files(const Session& session);

/// Writes the field image, its markers and the mesh with the field to the files that the project
/// names for them, in the output folder. Of a field without markers, an old marker file of that
/// name is renamed to end in
/// ".old". Shows "Field is not calculated!" and fails when there is none.
class SaveFieldTask final : public Task {
  public:
    explicit SaveFieldTask(Session session) : session_(session) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
};

}  // namespace vyn
