#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "api/image.h"
#include "core/file_lock.h"
#include "core/task.h"
#include "process/point/session.h"

namespace vyn {

/// A copy of the settings of a project with unsaved changes, and of the markers and masks drawn on
/// its camera pictures, which outlives a crash of the program. Each running program has its own in
/// the folder, and holds a lock beside it.
class RecoveryCopy {
  public:
    explicit RecoveryCopy(const std::filesystem::path& folder);
    RecoveryCopy(const RecoveryCopy&) = delete;
    RecoveryCopy& operator=(const RecoveryCopy&) = delete;

    /// Replaces the copy by this project file's text and what is unsaved of those of these pictures
    /// that the project reads: results are computed anew. Raises FileError. May be called from
    /// another thread than `drop`, not at the same time.
    void keep(const std::string& project,
              const std::vector<std::shared_ptr<const image>>& pictures);
    /// Removes the copy: nothing is unsaved any more, or the user gave it up.
    void drop();

  private:
    std::filesystem::path file_;
    std::unique_ptr<FileLock> lock_;
};

/// A copy whose program is gone. As long as this lives, no other program offers it.
struct LostWork {
    std::filesystem::path copy;
    std::string project;  ///< the project file that it belongs to; may be empty
    std::shared_ptr<FileLock> lock;
    /// True when there are markers or masks among it.
    bool has_pictures() const;
    /// Removes the copy.
    void discard() const;
};

/// The copies in the folder that no running program holds, the newest first. One that cannot be
/// read is left alone.
std::vector<LostWork> find_lost_work(const std::filesystem::path& folder);

/// Puts lost markers and masks on the images that the list holds, as unsaved ones. What cannot be
/// read, is of another size or has no image in the list is left out, with a line in the log and the
/// outcome done_with_errors.
class RestorePicturesTask final : public Task {
  public:
    RestorePicturesTask(Session session, std::filesystem::path copy)
        : session_(session), copy_(std::move(copy)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::filesystem::path copy_;
};

}  // namespace vyn
