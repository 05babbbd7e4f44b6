#include "process/project/recovery_copy.h"

#include <algorithm>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
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

constexpr std::string_view copy_prefix = "unsaved-";

/// In a folder of pictures that holds all of them.
constexpr const char* complete = "complete";
/// Behind the name of the picture whose region of interest it is.
constexpr const char* region_ending = "-region.png";
/// Extension for a picture whose markers were all removed.
constexpr const char* no_markers = ".none";

/// Puts a folder in the place of another, which lies in the first one's place then. There is no
/// moment without either, where the file system can do so.
void exchange(const fs::path& fresh, const fs::path& old) {
    if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, old.c_str(), RENAME_EXCHANGE) == 0) return;
    std::error_code problem;
    fs::remove_all(old, problem);
    fs::rename(fresh, old, problem);
    if (problem) throw FileError("Error writing file", old.string() + ": " + problem.message());
}

/// The pictures of a copy: where they belong, or complete ones that did not get there any more.
fs::path present_pictures(const fs::path& copy) {
    std::error_code ignored;
    const bool fresh = !fs::exists(pictures_of(copy), ignored) &&
                       fs::exists(new_pictures_of(copy) / complete, ignored);
    return fresh ? new_pictures_of(copy) : pictures_of(copy);
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
        file_ = folder / (std::string(copy_prefix) + std::to_string(getpid()) + "-" +
                          std::to_string(i) + ".xml");
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
        if (picture->has_unsaved_markers() && picture->markers.markers.empty())
            write_file(fresh / (picture->name + no_markers), "");
        else if (picture->has_unsaved_markers())
            write_marker_file(fresh / (picture->name + ".mrk"), picture->markers);
        if (picture->has_unsaved_mask())
            write_mask(*picture, fresh / (picture->name + ".png"), silent);
        if (picture->has_unsaved_mask() && picture->has_region())
            write_region(*picture, fresh / (picture->name + region_ending), silent);
    }
    if (!fs::exists(fresh, ignored)) {
        fs::remove_all(pictures_of(file_), ignored);
        return;
    }
    write_file(fresh / complete, "");
    exchange(fresh, pictures_of(file_));
    fs::remove_all(fresh, ignored);
}

void RecoveryCopy::drop() {
    remove_copy(file_);
}

bool LostWork::has_pictures() const {
    std::error_code ignored;
    return fs::exists(present_pictures(copy), ignored);
}

void LostWork::discard() const {
    remove_copy(copy);
}

std::vector<LostWork> find_lost_work(const fs::path& folder) {
    std::vector<LostWork> found;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        if (entry.path().extension() != ".xml" ||
            !entry.path().filename().string().starts_with(copy_prefix))
            continue;
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

void restore_region(image& picture, const fs::path& file, Progress& progress) {
    const image region = read_image(file, progress);
    require_same_size(region, picture);
    Bitmap<std::uint8_t> bytes(picture.width(), picture.height());
    for (int y = 0; y < picture.height(); ++y)
        std::transform(region.values().row(y), region.values().row(y) + picture.width(),
                       bytes.row(y), [](float value) { return value != 0 ? 1 : 0; });
    picture.set_region(std::move(bytes));
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
    for (const auto& entry : fs::directory_iterator(present_pictures(copy_), ignored)) {
        const fs::path& file = entry.path();
        if (file.filename() == complete) continue;
        try {
            const bool is_region = file.filename().string().ends_with(region_ending);
            std::string name = file.stem().string();
            if (is_region) name = name.substr(0, name.rfind('-'));
            const auto picture = images.find(name);
            if (!picture)
                throw StateError("State error!", file.string() + ": its image is not loaded");
            image restored = *picture;
            if (file.extension() == no_markers)
                restored.markers.markers.clear();
            else if (file.extension() == ".mrk")
                restore_markers(restored, file);
            else if (is_region)
                restore_region(restored, file, context);
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
