#include "core/temporary_files.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <mutex>
#include <set>

#include <unistd.h>

#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view prefix = ".vyn-";
constexpr auto youngest_leftover = std::chrono::hours(1);

/// The process that made a temporary file, by its name; 0 when it is none.
int maker_of(const std::string& name) {
    if (!name.starts_with(prefix)) return 0;
    const std::size_t end = name.find('-', prefix.size());
    if (end == std::string::npos) return 0;
    return parse_int(name.substr(prefix.size(), end - prefix.size())).value_or(0);
}

bool is_running(int process) {
    return ::kill(process, 0) == 0 || errno != ESRCH;
}

void remove_leftovers_once(const fs::path& folder) {
    static std::mutex mutex;
    static std::set<fs::path> seen;
    std::error_code ignored;
    const fs::path full = fs::absolute(folder, ignored).lexically_normal();
    const std::lock_guard lock(mutex);
    if (seen.insert(full).second) remove_leftovers(full);
}

}  // namespace

fs::path temporary_name(const fs::path& folder, const std::string& extension) {
    static std::atomic<unsigned> counter{0};
    remove_leftovers_once(folder);
    return folder / (std::string(prefix) + std::to_string(::getpid()) + "-" +
                     std::to_string(counter++) + extension);
}

bool names_temporary(std::string_view text) {
    return text.starts_with(prefix) || text.find("/" + std::string(prefix)) != std::string::npos;
}

void remove_leftovers(const fs::path& folder) {
    std::error_code problem;
    for (fs::directory_iterator entry(folder.empty() ? "." : folder, problem), end;
         !problem && entry != end; entry.increment(problem)) {
        const int maker = maker_of(entry->path().filename().string());
        if (maker <= 0 || is_running(maker)) continue;
        std::error_code failed;
        const auto written = entry->last_write_time(failed);
        if (!failed && fs::file_time_type::clock::now() - written > youngest_leftover)
            fs::remove_all(entry->path(), failed);
    }
}

ScratchFolder::ScratchFolder(const fs::path& parent) : path_(temporary_name(parent)) {
    std::error_code error;
    fs::remove_all(path_, error);  // of an older process with this number
    if (!fs::create_directory(path_, error))
        throw FileError("Error writing file",
                        (parent.empty() ? fs::path(".") : parent).string() +
                            ": cannot make a folder for temporary files: " + error.message());
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path temporary_folder() {
    std::error_code error;
    fs::path folder = fs::temp_directory_path(error);
    if (error)
        throw FileError("Error writing file",
                        "the folder for temporary files, as TMPDIR names it, cannot be used: " +
                            error.message());
    return folder;
}

}  // namespace vyn
