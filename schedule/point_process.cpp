#include "schedule/point_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/errors.h"
#include "core/log.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

/// Messages of this process go to the file; nothing can be asked.
void redirect_streams(const fs::path& log) {
    const int nothing = open("/dev/null", O_RDONLY);
    if (nothing >= 0) dup2(nothing, STDIN_FILENO);
    int file = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, 0666);
    if (file < 0) file = open("/dev/null", O_WRONLY);
    if (file < 0) return;
    dup2(file, STDOUT_FILENO);
    dup2(file, STDERR_FILENO);
}

void put(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t bytes = ::write(descriptor, text.data() + done, text.size() - done);
        if (bytes < 0 && errno == EINTR) continue;
        if (bytes <= 0) return;
        done += static_cast<std::size_t>(bytes);
    }
}

/// In the point's own process: computes, writes the state, tells it.
[[noreturn]] void be_point(const fs::path& folder, int answer,
                           const std::function<PointState()>& compute) {
    redirect_streams(folder / "log.txt");
    const ScopedLogSink log(
        [](const LogLine& line) { put(STDERR_FILENO, line.time + " " + line.text + "\n"); },
        LogManager::Filter::every_level);
    PointState state = compute();
    try {
        write_state(folder, state);
    } catch (const GenericError& error) {
        state.outcome = PointState::Outcome::failed;
        state.reason = error.what();
    }
    put(answer, state_text(state));
    std::_Exit(EXIT_SUCCESS);
}

}  // namespace

PointProcess::PointProcess(const Schedule& schedule, const SchedulePoint& point, PointLock lock,
                           const std::function<PointState()>& compute)
    : schedule_(schedule), point_(point), lock_(std::move(lock)) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw SystemError("System error!", errno);
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) {
        close(ends[0]);
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // its lock goes with this process
        if (getppid() != parent) std::_Exit(EXIT_FAILURE);
        be_point(schedule.folder_of(point), ends[1], compute);
    }
    const int problem = errno;
    close(ends[1]);
    pipe_ = ends[0];
    if (process_ > 0) return;
    close(pipe_);
    throw SystemError("System error!", problem);
}

PointProcess::~PointProcess() {
    close(pipe_);
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

void PointProcess::ask_to_stop() const {
    kill(process_, SIGTERM);
}

std::optional<PointState> PointProcess::take() {
    std::array<char, 4096> bytes{};
    const ssize_t count = ::read(pipe_, bytes.data(), bytes.size());
    if (count > 0) {
        answer_.append(bytes.data(), static_cast<std::size_t>(count));
        return std::nullopt;
    }
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return std::nullopt;
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    try {
        if (!answer_.empty()) return parse_state(answer_, "answer");
    } catch (const FileError&) {
        // It died while it told; the state below says how.
    }
    PointState state = state_without_answer(status);
    try {
        write_state(schedule_.folder_of(point_), state);
    } catch (const FileError& error) {
        state.reason += std::string("; ") + error.what();
    }
    return state;
}

PointState PointProcess::state_without_answer(int status) const {
    PointState state;
    state.digest = point_.digest;
    state.attempt = lock_.holder() + "/" + utc_now();
    state.finished = utc_now();
    state.reason = "its process ended early";
    if (WIFSIGNALED(status))
        state.reason += std::string(": ") + strsignal(WTERMSIG(status)) +
                        (WTERMSIG(status) == SIGKILL ? " (not enough memory?)" : "");
    return state;
}

}  // namespace vyn
