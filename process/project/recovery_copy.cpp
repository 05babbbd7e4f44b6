#include "process/project/recovery_copy.h"

#include <algorithm>
#include <system_error>

#include <unistd.h>

#include "api/image_io.h"
#include "api/image_list.h"
#include "core/atomic_file.h"
#include "core/data_set.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "process/point/image_sizes.h"
#include "process/point/input_files.h"
#include "process/point/marker_io.h"
#include "process/point/mask_file_task.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

fs::path lock_of(fs::path copy) {
    return copy.replace_extension(".lock");
}

/// Where the markers ("NAME.mrk") and masks ("NAME.png") of a copy lie.
fs::path pictures_of(fs::path copy) {
    return copy.replace_extension();
}

/// Where they are written before they take the place of the older ones.
fs::path new_pictures_of(fs::path copy) {
    return copy.replace_extension(".new");
}

void remove_copy(const fs::path& copy) {
    std::error_code ignored;
    fs::remove(copy, ignored);
    fs::remove_all(pictures_of(copy), ignored);
    fs::remove_all(new_pictures_of(copy), ignored);
}

/// The project file named in a copy.
std::string project_of(const fs::path& copy) {
    simpleNamedDataSet data;
    load_xml(data, copy.c_str());
    return read(data, keys::head_file);
}

}  // namespace

RecoveryCopy::RecoveryCopy(const fs::path& folder) {
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

void RecoveryCopy::keep(const std::string& project,
                        const std::vector<std::shared_ptr<const image>>& pictures) {
    write_file(file_, project);
    const fs::path fresh = new_pictures_of(file_);
    std::error_code ignored;
    fs::remove_all(fresh, ignored);
    Progress silent;
    for (const auto& picture : pictures) {
        if (!input_of_image(picture->name)) continue;
        fs::create_directories(fresh, ignored);
        if (picture->has_unsaved_markers() && !picture->markers.markers.empty())
            write_marker_file(fresh / (picture->name + ".mrk"), picture->markers);
        if (picture->has_unsaved_mask())
            write_mask(*picture, fresh / (picture->name + ".png"), silent);
    }
    fs::remove_all(pictures_of(file_), ignored);
    if (fs::exists(fresh, ignored)) fs::rename(fresh, pictures_of(file_), ignored);
}

void RecoveryCopy::drop() {
    remove_copy(file_);
}

bool LostWork::has_pictures() const {
    std::error_code ignored;
    return fs::exists(pictures_of(copy), ignored);
}

void LostWork::discard() const {
    remove_copy(copy);
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

namespace {

void restore_markers(image& picture, const fs::path& file) {
    picture.markers = read_marker_file(file, picture.height());
}

void restore_mask(image& picture, const fs::path& file, Progress& progress) {
    const image mask = read_image(file, progress);
    require_same_size(mask, picture);
    for (int y = 0; y < picture.height(); ++y)
        std::transform(mask.values().row(y), mask.values().row(y) + picture.width(),
                       picture.mask().row(y), [](float value) { return value != 0 ? 1 : 0; });
}

}  // namespace

TaskOutcome RestorePicturesTask::run(TaskContext& context) {
    imagesList& images = session_.images;
    TaskOutcome outcome = TaskOutcome::done;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(pictures_of(copy_), ignored)) {
        const fs::path& file = entry.path();
        try {
            const auto picture = images.find(file.stem().string());
            if (!picture)
                throw StateError("State error!", file.string() + ": its image is not loaded");
            image restored = *picture;
            if (file.extension() == ".mrk")
                restore_markers(restored, file);
            else
                restore_mask(restored, file, context);
            images.add(std::move(restored));
        } catch (const GenericError&) {
            outcome = TaskOutcome::done_with_errors;  // the error stands in the log
        }
    }
    return outcome;
}

}  // namespace vyn
