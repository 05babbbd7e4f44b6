#include "core/file_lock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vyn {

namespace {

/// False when the file was removed or replaced between opening and locking it.
bool is_the_file(int descriptor, const char* path) {
    struct stat opened {};
    struct stat named {};
    return fstat(descriptor, &opened) == 0 && stat(path, &named) == 0 &&
           opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

std::string this_program() {
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    return "process " + std::to_string(getpid()) + " on " + host;
}

std::string content(int descriptor) {
    char text[512];
    const ssize_t bytes = pread(descriptor, text, sizeof text, 0);
    return bytes > 0 ? std::string(text, static_cast<std::size_t>(bytes)) : std::string();
}

}  // namespace

FileLock::FileLock(std::filesystem::path file) : file_(std::move(file)) {
    constexpr int attempts = 10;  // others may be removing theirs
    for (int i = 0; i < attempts; ++i) {
        descriptor_ = open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
        // Another user's lock can be looked at and locked, though not written to.
        if (descriptor_ < 0 && errno == EACCES)
            descriptor_ = open(file_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
        if (descriptor_ < 0) {
            struct stat there {};
            if (errno == EACCES && lstat(file_.c_str(), &there) == 0) state_ = State::taken;
            return;
        }
        if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) {
                state_ = State::taken;
                holder_ = content(descriptor_);
            }
            break;
        }
        if (is_the_file(descriptor_, file_.c_str())) {
            const std::string me = this_program();
            if (ftruncate(descriptor_, 0) == 0 &&
                pwrite(descriptor_, me.data(), me.size(), 0) == static_cast<ssize_t>(me.size()))
                holder_ = me;
            state_ = State::held;
            return;
        }
        close(descriptor_);
    }
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
}

FileLock::~FileLock() {
    if (state_ == State::held) unlink(file_.c_str());
    if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace vyn
