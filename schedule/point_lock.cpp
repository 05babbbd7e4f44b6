#include "schedule/point_lock.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/numbers.h"
#include "core/temporary_files.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr const char* lock_file = "lock";

std::string this_holder() {
    return "process " + std::to_string(getpid()) + " on " + host_name();
}

std::string content(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) return {};
    std::array<char, 512> text{};
    const ssize_t bytes = ::read(descriptor, text.data(), text.size());
    close(descriptor);
    return bytes > 0 ? std::string(text.data(), static_cast<std::size_t>(bytes)) : std::string();
}

double seconds_of(const timespec& time) {
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The disk's own time: that of a file made there now.
std::optional<double> time_on_disk(const fs::path& folder) {
    const fs::path file = temporary_name(folder);
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) return std::nullopt;
    struct stat now {};
    const bool known = fstat(descriptor, &now) == 0;
    close(descriptor);
    unlink(file.c_str());
    return known ? std::optional(seconds_of(now.st_mtim)) : std::nullopt;
}

/// True for a holder on this computer whose process is gone.
bool is_gone(const std::string& holder) {
    constexpr std::string_view start = "process ";
    const std::size_t on = holder.find(" on ");
    if (!holder.starts_with(start) || on == std::string::npos ||
        holder.substr(on + 4) != host_name())
        return false;
    const std::optional<int> process =
        parse_int(std::string_view(holder).substr(start.size(), on - start.size()));
    return process && *process > 0 && kill(*process, 0) != 0 && errno == ESRCH;
}

/// True when nobody lives behind the lock file any more.
bool is_stale(const fs::path& file, const std::string& holder) {
    if (is_gone(holder)) return true;
    struct stat lock {};
    if (stat(file.c_str(), &lock) != 0) return false;
    const std::optional<double> now = time_on_disk(file.parent_path());
    return now && *now - seconds_of(lock.st_mtim) > PointLock::stale_after;
}

/// Makes the file with the holder's name; 0, or what went wrong.
int make(const fs::path& file, const std::string& holder) {
    const int descriptor =
        open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (descriptor < 0) return errno;
    const bool written =
        ::write(descriptor, holder.data(), holder.size()) == static_cast<ssize_t>(holder.size());
    const int problem = errno;
    close(descriptor);
    if (written) return 0;
    unlink(file.c_str());
    return problem;
}

/// Puts a new holder's file in the place of a dead one's, at once: without a lock for a moment,
/// several that try would each get one. False when another was quicker.
bool replace_stale(const fs::path& file, const std::string& dead, const std::string& holder) {
    const int descriptor = open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) return false;
    struct stat opened {};
    struct stat there {};
    const bool alone = flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
    bool replaced = false;
    if (alone && fstat(descriptor, &opened) == 0 && stat(file.c_str(), &there) == 0 &&
        opened.st_ino == there.st_ino && content(file) == dead && is_stale(file, dead)) {
        const fs::path aside = temporary_name(file.parent_path());
        replaced = make(aside, holder) == 0 && rename(aside.c_str(), file.c_str()) == 0;
        if (!replaced) unlink(aside.c_str());
    }
    close(descriptor);
    return replaced;
}

}  // namespace

std::string host_name() {
    std::array<char, 256> host{};
    gethostname(host.data(), host.size() - 1);
    return host.data();
}

PointLock::PointLock(const fs::path& folder) : file_(folder / lock_file) {
    constexpr int attempts = 5;
    const std::string me = this_holder();
    for (int i = 0; i < attempts; ++i) {
        if (const int problem = make(file_, me); problem != EEXIST) {
            if (problem == 0) state_ = State::held;
            holder_ = problem == 0 ? me : std::strerror(problem);
            return;
        }
        holder_ = content(file_);
        if (!is_stale(file_, holder_)) break;
        if (!replace_stale(file_, holder_, me)) continue;
        state_ = State::held;
        holder_ = me;
        return;
    }
    state_ = State::taken;
}

PointLock::PointLock(PointLock&& other) noexcept
    : file_(std::move(other.file_)),
      state_(std::exchange(other.state_, State::impossible)),
      holder_(std::move(other.holder_)) {}

PointLock::~PointLock() {
    if (state_ == State::held && content(file_) == holder_) unlink(file_.c_str());
}

void PointLock::touch() const {
    if (state_ == State::held) utimensat(AT_FDCWD, file_.c_str(), nullptr, 0);
}

std::string PointLock::holder_of(const fs::path& folder) {
    const fs::path file = folder / lock_file;
    const std::string holder = content(file);
    if (holder.empty()) return {};
    return is_stale(file, holder) ? std::string() : holder;
}

}  // namespace vyn
