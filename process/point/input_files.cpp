#include "process/point/input_files.h"

#include "calib/camera.h"
#include "process/point/project_paths.h"

namespace vyn {

namespace {

/// Where the flat field of a camera's record is; empty when nowhere.
std::filesystem::path flat_file_of(const dataSetInterface& data, std::string_view camera,
                                   SearchLog log) {
    cameraFeatures record;
    read(data, std::string(camera), record);
    const std::filesystem::path folder = std::filesystem::absolute(project_folder(data));
    if (!record.camera.empty()) record.camera = (folder / record.camera).string();
    const std::filesystem::path found = find_flat_file(record, folder, log);
    return found.empty() ? found : without_detours(found);
}

/// The setting of a camera's flat field, by the table of all settings.
Key<std::string> flat_key(std::string_view camera) {
    return {find_key(std::string(camera) + "flat_file")->path};
}

}  // namespace

const std::vector<InputFile>& input_files() {
    using Role = InputFile::Role;
    static const std::vector<InputFile> table = [] {
        std::vector<InputFile> files;
        for (const RawImage& raw : raw_images()) {
            files.push_back({Role::picture, raw.name, raw.file, &raw});
            files.push_back({Role::dark, raw.dark_name, raw.dark_file, &raw});
            files.push_back({Role::markers, raw.name, raw.marker_file, &raw});
            files.push_back({Role::mask, raw.name, raw.mask_file, &raw});
        }
        for (const RawImage* raw : {&raw_images()[0], &raw_images()[2]})
            files.push_back({Role::flat, raw->flat_name, flat_key(raw->camera), raw});
        files.push_back(
            {Role::temperature, image_names::temperature_map, keys::temperature_map_file, nullptr});
        files.push_back({Role::temperature, image_names::temperature_map_sigma,
                         keys::temperature_map_sigma_file, nullptr});
        return files;
    }();
    return table;
}

const InputFile* input_of_image(std::string_view image) {
    for (const InputFile& input : input_files()) {
        const bool becomes_image =
            input.role != InputFile::Role::markers && input.role != InputFile::Role::mask;
        if (becomes_image && input.image == image) return &input;
    }
    return nullptr;
}

std::vector<std::pair<const char*, Key<std::string>>> files_beside(const InputFile& input) {
    if (input.role == InputFile::Role::picture)
        return {{"marker file", input.raw->marker_file},
                {"mask file", input.raw->mask_file},
                {"region file", input.raw->region_file}};
    if (input.file.path == keys::temperature_map_file.path)
        return {{"marker file", keys::temperature_map_mark_file}};
    return {};
}

std::string named_file(const dataSetInterface& data, const InputFile& input) {
    const std::string name = read(data, input.file);
    if (input.role != InputFile::Role::flat || name.empty()) return name;
    const std::filesystem::path found = flat_file_of(data, input.raw->camera, SearchLog::written);
    return found.empty() ? name : found.string();
}

std::filesystem::path located_file(const dataSetInterface& data, const InputFile& input) {
    const std::filesystem::path name = read(data, input.file);
    if (name.empty()) return {};
    // Asked often, so without the log lines of the search that loading makes.
    return input.role == InputFile::Role::flat
               ? flat_file_of(data, input.raw->camera, SearchLog::none)
               : locate(name, project_folder(data));
}

}  // namespace vyn
