#pragma once

#include <filesystem>
#include <string>

namespace vyn {

/// Holds a lock file for its lifetime, so that another run of the program can tell that something
/// is in use. The system frees the lock of a program that ended without doing so: a lock file left
/// by a crash is no lock.
class FileLock {
  public:
    /// `taken`: somebody else holds it. `impossible`: the folder takes no lock file.
    enum class State { held, taken, impossible };

    /// Tries once, without waiting.
    explicit FileLock(std::filesystem::path file);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    State state() const { return state_; }
    /// Who holds it, for the user ("process 1234 on HOST"); when taken.
    const std::string& holder() const { return holder_; }

  private:
    std::filesystem::path file_;
    int descriptor_ = -1;
    State state_ = State::impossible;
    std::string holder_;
};

}  // namespace vyn
