#include "process/steps/image_origin.h"

#include <fstream>
#include <system_error>
#include <vector>

#include "core/errors.h"
#include "core/file_names.h"
#include "core/keys.h"
#include "process/point/digest.h"
#include "process/point/image_digest.h"
#include "process/point/project_paths.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

/// Name and SHA-256; empty when there is no such file or it cannot be read. Folder and time stay
/// out, so that a project can be moved and copied with its files.
std::string file_stamp(const fs::path& file) {
    // Asked often: a file that cannot be read is no error that the log has to hold each time.
    for (const fs::path& one : files_named(file))
        if (std::error_code ignored; !fs::is_regular_file(one, ignored) || !std::ifstream(one))
            return {};
    try {
        return file.filename().string() + ", " + known_file_sha256(file);
    } catch (const FileError&) {
        return {};
    }
}

void add_stamp(ImageOrigin& origin, const std::string& item, const fs::path& file) {
    if (file.empty()) return;
    if (std::string stamp = file_stamp(file); !stamp.empty()) origin[item] = std::move(stamp);
}

void add_setting(ImageOrigin& origin, const dataSetInterface& data, const std::string& path) {
    any value = data.value(path);
    const any& fallback = find_key(path)->fallback;
    origin[path] = format_setting(value.type() == fallback.type() ? value : fallback);
}

/// Told only where it is not the default: most files leave nothing open.
void add_if_changed(ImageOrigin& origin, const dataSetInterface& data, const std::string& path) {
    ImageOrigin one;
    add_setting(one, data, path);
    if (one[path] != format_setting(find_key(path)->fallback)) origin.merge(one);
}

}  // namespace

ImageOrigin input_origin(const dataSetInterface& data, const InputFile& input) {
    ImageOrigin origin;
    add_stamp(origin, "file", located_file(data, input));
    if (input.role == InputFile::Role::picture) {
        add_setting(origin, data, std::string(keys::saturation_level.path));
        add_setting(origin, data, std::string(keys::saturation_exclude.path));
        add_if_changed(origin, data, std::string(full_scale_key(*input.raw).path));
    }
    for (const std::string_view path :
         {keys::files_fits_first_row.path, keys::files_stacks.path, keys::files_data_set.path,
          keys::files_raw_layout.path, keys::files_average.path, keys::files_clip.path})
        add_if_changed(origin, data, std::string(path));
    const fs::path folder = project_folder(data);
    for (const auto& [item, key] : files_beside(input))
        if (const std::string name = read(data, key); !name.empty())
            add_stamp(origin, item, locate(name, folder));
    return origin;
}

ImageOrigin result_origin(const dataSetInterface& data, const imagesList& images,
                          const StepFacts& facts,
                          const std::function<ImageOrigin(const std::string&)>& origin_of) {
    ImageOrigin origin;
    for (const std::string& path : facts.settings) {
        add_setting(origin, data, path);
        const bool names_file = path.ends_with("_file") && !origin[path].empty();
        if (names_file)
            add_stamp(origin, std::string(contents_item) + path,
                      locate(origin[path], project_folder(data)));
    }
    for (const StepImage& taken : facts.takes) {
        if (taken.use == StepImage::Use::behind) continue;
        const auto picture = images.find(taken.name);
        if (!picture) continue;
        for (auto& [item, value] : origin_of(taken.name))
            origin[std::string(taken.name).append(" > ").append(item)] = std::move(value);
        if (taken.markers) origin["markers of " + taken.name] = marker_digest(picture->markers);
        origin["mask of " + taken.name] = mask_digest(picture);
    }
    return origin;
}

void note_file_saved(const dataSetInterface& data, imagesList& images, const std::string& name,
                     InputFile::Role role) {
    const auto picture = images.find(name);
    if (!picture) return;
    const bool markers = role == InputFile::Role::markers;
    image noted = *picture;
    if (markers)
        noted.note_markers_saved();
    else
        noted.note_mask_saved();
    if (const InputFile* input = input_of_image(name); input && !noted.origin.empty()) {
        ImageOrigin now = input_origin(data, *input);
        const std::vector<const char*> items =
            markers ? std::vector{"marker file"} : std::vector{"mask file", "region file"};
        for (const char* item : items) {
            noted.origin.erase(item);
            if (auto found = now.extract(item)) noted.origin.insert(std::move(found));
        }
    }
    images.add(std::move(noted));
}

}  // namespace vyn
