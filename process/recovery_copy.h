#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "core/file_lock.h"

namespace vyn {

/// A copy of the settings of a project with unsaved changes, which outlives a crash of the program.
/// Each running program has its own in the folder, and holds a lock beside it.
class RecoveryCopy {
  public:
    explicit RecoveryCopy(std::filesystem::path folder);
    RecoveryCopy(const RecoveryCopy&) = delete;
    RecoveryCopy& operator=(const RecoveryCopy&) = delete;

    /// Replaces the copy by this project file's text. Raises FileError. May be called from another
    /// thread than `drop`, not at the same time.
    void keep(const std::string& project);
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
    /// Removes the copy.
    void discard() const;
};

/// The copies in the folder that no running program holds, the newest first. One that cannot be
/// read is left alone.
std::vector<LostWork> find_lost_work(const std::filesystem::path& folder);

}  // namespace vyn
