#include "core/atomic_file.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/errors.h"
#include "core/temporary_files.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr const char* cannot_read = "Can't open file for reading!";
constexpr const char* cannot_open = "Can't open file for writing!";
constexpr const char* cannot_write = "Error writing file";

std::string reason(int os_error) {
    return std::generic_category().message(os_error);
}

/// A file descriptor that is closed at the end of its scope.
class Descriptor {
  public:
    Descriptor(const fs::path& file, int flags, mode_t mode = 0)
        : number_(::open(file.c_str(), flags | O_CLOEXEC, mode)) {}
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    explicit operator bool() const { return number_ >= 0; }
    int number() const { return number_; }
    /// False when closing reports that earlier writing failed.
    bool close() { return ::close(std::exchange(number_, -1)) == 0; }

  private:
    int number_;
};

bool write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

void flush_folder(const fs::path& file) {
    const fs::path folder = file.parent_path();
    const Descriptor descriptor(folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY);
    if (descriptor) ::fsync(descriptor.number());
}

/// The file at the end of a chain of links, there or not; nothing when the chain has no end.
std::optional<fs::path> end_of_links(fs::path file) {
    constexpr int most_links = 40;
    std::error_code error;
    for (int i = 0; i < most_links; ++i) {
        if (!fs::is_symlink(file, error)) return file;
        const fs::path next = fs::read_symlink(file, error);
        if (error) return std::nullopt;
        file = next.is_absolute() ? next : file.parent_path() / next;
    }
    return std::nullopt;
}

}  // namespace

bool is_stream(const fs::path& target) {
    const std::string name = target.lexically_normal().string();
    return name.starts_with("/dev/std") || name.starts_with("/dev/fd/") || name == "/dev/null";
}

AtomicFile::AtomicFile(fs::path target, ErrorPlace at) : target_(std::move(target)), place_(at) {
    if (target_.empty()) throw FileError("File Name is empty!", "", place_);
    const std::optional<fs::path> followed = end_of_links(target_);
    if (!followed) fail(cannot_open, ELOOP);
    target_ = *followed;

    struct stat old {};
    const bool replaces = ::stat(target_.c_str(), &old) == 0;
    if (!replaces && errno != ENOENT) fail(cannot_open, errno);
    if (replaces && S_ISDIR(old.st_mode)) fail(cannot_open, EISDIR);
    if (replaces && !S_ISREG(old.st_mode)) fail(cannot_open, EINVAL);
    if (replaces && ::access(target_.c_str(), W_OK) != 0) fail(cannot_open, errno);

    do {
        temporary_ = temporary_name(target_.parent_path(), target_.extension().string());
        const Descriptor created(temporary_, O_WRONLY | O_CREAT | O_EXCL, 0666);
        if (created) {
            if (replaces) replaced_mode_ = old.st_mode & 07777;
            return;
        }
    } while (errno == EEXIST);
    fail(cannot_open, errno);
}

AtomicFile::~AtomicFile() {
    if (!committed_) ::unlink(temporary_.c_str());
}

void AtomicFile::commit() {
    Descriptor written(temporary_, O_RDONLY);
    if (!written) fail(cannot_write, errno);
    if (replaced_mode_) ::fchmod(written.number(), *replaced_mode_);
    if (::fsync(written.number()) != 0 || !written.close()) fail(cannot_write, errno);
    if (!move_to_target()) fail(cannot_write, errno);
    committed_ = true;
    flush_folder(target_);
}

bool AtomicFile::move_to_target() const {
    if (replaced_mode_) return ::rename(temporary_.c_str(), target_.c_str()) == 0;
    if (::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // Not every file system can.
    return (errno == EINVAL || errno == ENOSYS) &&
           ::rename(temporary_.c_str(), target_.c_str()) == 0;
}

void AtomicFile::fail(const char* text, int os_error) const {
    throw FileError(text, target_.string() + ": " + reason(os_error), place_);
}

void write_file(const fs::path& target, std::string_view bytes, ErrorPlace at) {
    if (is_stream(target)) {
        Descriptor stream(target, O_WRONLY | O_APPEND);
        if (!stream || !write_all(stream.number(), bytes) || !stream.close())
            throw FileError(cannot_write, target.string() + ": " + reason(errno), at);
        return;
    }
    AtomicFile file(target, at);
    Descriptor descriptor(file.temporary(), O_WRONLY);
    if (!descriptor || !write_all(descriptor.number(), bytes) || !descriptor.close())
        file.fail(cannot_write, errno);
    file.commit();
}

std::string read_file(const fs::path& file, std::size_t max_bytes, ErrorPlace at) {
    const auto fail = [&](const std::string& why) {
        throw FileError(cannot_read, file.string() + ": " + why, at);
    };
    // Without waiting: a named pipe that nobody writes to would hold the program.
    const Descriptor descriptor(file, O_RDONLY | O_NONBLOCK);
    if (!descriptor) fail(reason(errno));
    struct stat info {};
    if (::fstat(descriptor.number(), &info) != 0) fail(reason(errno));
    if (S_ISDIR(info.st_mode)) fail(reason(EISDIR));
    if (!S_ISREG(info.st_mode)) fail("no regular file");

    const std::string limit = "larger than the " + std::to_string(max_bytes) + " bytes allowed";
    if (static_cast<std::uintmax_t>(info.st_size) > max_bytes) fail(limit);
    // One byte more than expected, so that the end is seen and a file that grows is noticed.
    std::string bytes(static_cast<std::size_t>(info.st_size) + 1, '\0');
    std::size_t length = 0;
    while (true) {
        const ssize_t got =
            ::read(descriptor.number(), bytes.data() + length, bytes.size() - length);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail(reason(errno));
        if (got == 0) break;
        length += static_cast<std::size_t>(got);
        if (length > max_bytes) fail(limit);
        if (length == bytes.size()) bytes.resize(2 * length);
    }
    bytes.resize(length);
    return bytes;
}

}  // namespace vyn
