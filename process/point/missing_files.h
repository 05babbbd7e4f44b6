#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "core/task.h"
#include "process/point/input_files.h"
#include "process/point/session.h"

namespace vyn {

/// A file that the project names and that is not there.
struct MissingFile {
    const char* image;
    Key<std::string> file;
};

/// Of pictures and what belongs to them; those that the images of a container make up for are not
/// missed: pictures that are loaded, and markers that they have.
std::vector<MissingFile> missing_files(const dataSetInterface& data, const imagesList& images);

/// A sentence without its full stop.
std::string missing_text(const dataSetInterface& data, const MissingFile& missing);

/// Copies the settings, but for the names of files that are not there.
void copy_without_missing_files(const dataSetInterface& data, dataSetInterface& present);

/// A place for a file, and the file that is to be there.
using PlacedFile = std::pair<InputFile, std::filesystem::path>;

/// Where else files are that moved together: for every place whose file is missing, the file that
/// lies, seen from the one that was found again, where it lay before, or beside it under its name.
/// The found one stands first.
std::vector<PlacedFile> find_moved_files(const dataSetInterface& data, const InputFile& found,
                                         const std::filesystem::path& now);

/// Names files for several places at once and loads what they are for; results go. Settings and
/// images stay as they were when anything fails.
class PlaceFilesTask final : public Task {
  public:
    PlaceFilesTask(Session session, std::vector<PlacedFile> files)
        : session_(session), files_(std::move(files)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::vector<PlacedFile> files_;
};

}  // namespace vyn
