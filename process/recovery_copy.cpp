#include "process/recovery_copy.h"

#include <algorithm>
#include <system_error>

#include <unistd.h>

#include "core/atomic_file.h"
#include "core/data_set.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

fs::path lock_of(fs::path copy) {
    return copy.replace_extension(".lock");
}

/// The project file named in a copy.
std::string project_of(const fs::path& copy) {
    simpleNamedDataSet data;
    load_xml(data, copy.c_str());
    return read(data, keys::head_file);
}

}  // namespace

RecoveryCopy::RecoveryCopy(fs::path folder) {
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    // A process number that was used before may have left its copy: that one is not ours.
    const auto taken = [&] {
        return lock_->state() == FileLock::State::taken || fs::exists(file_, ignored);
    };
    for (int i = 0; !lock_ || taken(); ++i) {
        file_ = folder / ("unsaved-" + std::to_string(getpid()) + "-" + std::to_string(i) + ".xml");
        lock_ = std::make_unique<FileLock>(lock_of(file_));
    }
}

void RecoveryCopy::keep(const std::string& project) {
    write_file(file_, project);
}

void RecoveryCopy::drop() {
    std::error_code ignored;
    fs::remove(file_, ignored);
}

void LostWork::discard() const {
    std::error_code ignored;
    fs::remove(copy, ignored);
}

std::vector<LostWork> find_lost_work(const fs::path& folder) {
    std::vector<LostWork> found;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        if (entry.path().extension() != ".xml") continue;
        auto lock = std::make_shared<FileLock>(lock_of(entry.path()));
        if (lock->state() != FileLock::State::held) continue;
        try {
            found.push_back({entry.path(), project_of(entry.path()), std::move(lock)});
        } catch (const GenericError&) {
            // Its error stands in the log.
        }
    }
    std::ranges::sort(found, std::greater(), [&](const LostWork& work) {
        return fs::last_write_time(work.copy, ignored);
    });
    return found;
}

}  // namespace vyn
