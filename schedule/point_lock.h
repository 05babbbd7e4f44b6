#pragma once

#include <filesystem>
#include <string>

namespace vyn {

/// Name of this computer.
std::string host_name();

/// Holds a point for one scheduler, also among computers that share a disk: a file that only one
/// can make. The holder touches it while it works; a file that nobody has touched for long, or
/// whose process on this computer is gone, is that of a dead one and is taken over. Ages are
/// compared by the disk's own clock.
class PointLock {
  public:
    enum class State { held, taken, impossible };

    /// Tries once, without waiting; makes no folder.
    explicit PointLock(const std::filesystem::path& folder);
    ~PointLock();
    PointLock(PointLock&& other) noexcept;
    PointLock& operator=(PointLock&&) = delete;
    PointLock(const PointLock&) = delete;
    PointLock& operator=(const PointLock&) = delete;

    State state() const { return state_; }
    /// Who holds it ("process 1234 on HOST"), when taken; why it cannot be, when impossible.
    const std::string& holder() const { return holder_; }

    /// Shows that the holder lives; to be called several times within `stale_after`.
    void touch() const;

    /// So many seconds without a touch mean that the holder is dead.
    static constexpr double stale_after = 180;

    /// Who holds a folder's lock now; empty when nobody does.
    static std::string holder_of(const std::filesystem::path& folder);

  private:
    std::filesystem::path file_;
    State state_ = State::impossible;
    std::string holder_;
};

}  // namespace vyn
