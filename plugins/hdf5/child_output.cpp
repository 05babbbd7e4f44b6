#include "plugins/hdf5/child_output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vyn::plugins {

namespace {

constexpr int milliseconds_between_looks = 50;

std::system_error failed(int code, const std::string& what) {
    return {code, std::generic_category(), what};
}

/// What the child has of its parent's files: its output. What fails in it is nothing to be read.
class ChildFiles {
  public:
    explicit ChildFiles(int output) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    ~ChildFiles() { posix_spawn_file_actions_destroy(&actions_); }
    ChildFiles(const ChildFiles&) = delete;
    ChildFiles& operator=(const ChildFiles&) = delete;

    const posix_spawn_file_actions_t* actions() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

}  // namespace

ChildOutput::ChildOutput(const std::filesystem::path& program,
                         const std::vector<std::string>& arguments) {
    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers(words.size() + 1, nullptr);
    std::ranges::transform(words, pointers.begin(), [](std::string& word) { return word.data(); });

    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw failed(errno, "pipe");
    output_ = ends[0];
    const ChildFiles files(ends[1]);
    const int problem =
        posix_spawn(&process_, program.c_str(), files.actions(), nullptr, pointers.data(), environ);
    close(ends[1]);
    if (problem == 0) return;
    close(output_);
    throw failed(problem, program.string());
}

ChildOutput::~ChildOutput() {
    close(output_);
    if (process_ < 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

std::size_t ChildOutput::read_some(std::span<std::byte> bytes, const Progress& progress) {
    while (true) {
        throw_if_aborted(progress);
        pollfd wanted{.fd = output_, .events = POLLIN, .revents = 0};
        if (poll(&wanted, 1, milliseconds_between_looks) <= 0) continue;
        const ssize_t count = ::read(output_, bytes.data(), bytes.size());
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno != EINTR && errno != EAGAIN) return 0;
    }
}

bool ChildOutput::read(std::span<std::byte> bytes, const Progress& progress) {
    while (!bytes.empty()) {
        const std::size_t count = read_some(bytes, progress);
        if (count == 0) return false;
        bytes = bytes.subspan(count);
    }
    return true;
}

bool ChildOutput::read_line(std::string& line, std::size_t most, const Progress& progress) {
    line.clear();
    // Byte by byte, since what follows belongs to the next read.
    for (std::byte next{}; line.size() < most; line += static_cast<char>(next)) {
        if (!read({&next, 1}, progress)) return false;
        if (static_cast<char>(next) == '\n') return true;
    }
    return false;
}

bool ChildOutput::ended_well() {
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace vyn::plugins
