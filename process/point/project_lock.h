#pragma once

#include <filesystem>
#include <memory>

#include "core/file_lock.h"

namespace vyn {

/// Holds the lock of a project that is going to be written. Raises StateError when somebody else
/// has the project open.
std::unique_ptr<FileLock> lock_project(const std::filesystem::path& file);

}  // namespace vyn
