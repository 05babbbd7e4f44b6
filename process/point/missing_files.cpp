#include "process/point/missing_files.h"

#include <algorithm>

#include "core/keys.h"
#include "core/project_file.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

bool is_missing(const dataSetInterface& data, const InputFile& input) {
    return !read(data, input.file).empty() && located_file(data, input).empty();
}

fs::path named_path(const dataSetInterface& data, const InputFile& input) {
    return (fs::absolute(project_folder(data)) / read(data, input.file)).lexically_normal();
}

/// As the settings name it: files in or below the project's folder from there.
std::string name_for(const dataSetInterface& data, const fs::path& file) {
    const fs::path way = fs::absolute(file).lexically_normal().lexically_relative(
        fs::absolute(project_folder(data)));
    return way.empty() || *way.begin() == ".." ? file.string() : way.string();
}

bool is_file(const fs::path& file) {
    std::error_code ignored;
    return fs::is_regular_file(file, ignored);
}

}  // namespace

std::vector<MissingFile> missing_files(const dataSetInterface& data, const imagesList& images) {
    using Role = InputFile::Role;
    const auto made_up_for = [&](const InputFile& input) {
        const auto picture = images.find(input.image);
        if (!picture || input.role == Role::mask) return false;
        return input.role != Role::markers || !picture->markers.markers.empty();
    };
    std::vector<MissingFile> missing;
    for (const InputFile& input : input_files())
        if (is_missing(data, input) && !made_up_for(input))
            missing.push_back({input.image, input.file});
    for (const RawImage& raw : raw_images())
        if (const std::string region = read(data, raw.region_file);
            !region.empty() && locate(region, project_folder(data)).empty())
            missing.push_back({raw.name, raw.region_file});
    return missing;
}

std::string missing_text(const dataSetInterface& data, const MissingFile& missing) {
    return std::string(missing.image) + ": the file is not there: " + read(data, missing.file);
}

void copy_without_missing_files(const dataSetInterface& data, dataSetInterface& present) {
    data.for_each(
        [&](const std::string& path, const any& value) { present.set_value(path, value, false); });
    for (const MissingFile& missing : missing_files(data, imagesList()))
        write(present, missing.file, std::string());
}

std::vector<PlacedFile> find_moved_files(const dataSetInterface& data, const InputFile& found,
                                         const fs::path& now) {
    std::vector<PlacedFile> moved{{found, now}};
    const fs::path old_folder = named_path(data, found).parent_path();
    for (const InputFile& input : input_files()) {
        if (input.file.path == found.file.path || !is_missing(data, input)) continue;
        const fs::path old = named_path(data, input);
        for (const fs::path& way : {old.lexically_relative(old_folder), old.filename()}) {
            const fs::path file = (now.parent_path() / way).lexically_normal();
            if (way.empty() || !is_file(file)) continue;
            moved.emplace_back(input, file);
            break;
        }
    }
    return moved;
}

TaskOutcome PlaceFilesTask::run(TaskContext& context) {
    dataSetInterface& data = session_.data;
    std::vector<std::pair<Key<std::string>, std::string>> old;
    const bool modified = data.modified();
    std::vector<std::string> wanted;
    for (const auto& [input, file] : files_) {
        context.status("Loading " + file.string());
        old.emplace_back(input.file, read(data, input.file));
        write(data, input.file, name_for(data, file));
        if (std::ranges::find(wanted, input.image) == wanted.end()) wanted.push_back(input.image);
    }
    try {
        simpleNamedDataSet present;
        copy_without_missing_files(data, present);
        std::vector<image> loaded;
        for (const std::string& name : wanted)
            if (std::optional<image> picture = load_image(present, name, context))
                loaded.push_back(std::move(*picture));
        throw_if_aborted(context);
        remove_results(session_.images);
        for (image& picture : loaded)
            session_.images.add(std::move(picture));
    } catch (...) {
        for (const auto& [key, name] : old)
            write(data, key, name);
        data.set_modified(modified);
        throw;
    }
    return TaskOutcome::done;
}

}  // namespace vyn
