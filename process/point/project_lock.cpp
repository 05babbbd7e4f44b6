#include "process/point/project_lock.h"

#include "core/errors.h"
#include "process/point/project_paths.h"

namespace vyn {

std::unique_ptr<FileLock> lock_project(const std::filesystem::path& file) {
    auto lock = std::make_unique<FileLock>(project_lock(file));
    if (lock->state() == FileLock::State::taken)
        throw StateError("State error!",
                         file.string() + " is open elsewhere (" +
                             (lock->holder().empty() ? "by another user" : lock->holder()) +
                             "); nothing was written");
    return lock;
}

}  // namespace vyn
