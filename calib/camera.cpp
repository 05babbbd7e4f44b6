#include "calib/camera.h"

#include <vector>

#include "calib/camera_fields.h"
#include "calib/record_fields.h"
#include "core/file_names.h"
#include "core/log.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

bool is_file(const fs::path& path) {
    const std::vector<fs::path> files = files_named(path);
    std::error_code ignored;
    return !files.empty() && fs::is_regular_file(files.front(), ignored);
}

template <class Data>
void read_record(Data& data, const std::string& tree, cameraFeatures& record) {
    read_field(data, tree + "camera", record.camera);
    for_each_field(record,
                   [&](const char* key, auto& field) { read_field(data, tree + key, field); });
}

}  // namespace

void read(dataSetInterface& data, const std::string& tree, cameraFeatures& record) {
    read_record(data, tree, record);
}

void read(const dataSetInterface& data, const std::string& tree, cameraFeatures& record) {
    read_record(data, tree, record);
}

void write(dataSetInterface& data, const std::string& tree, const cameraFeatures& record) {
    write_field(data, tree + "camera", record.camera);
    for_each_field(
        record, [&](const char* key, const auto& field) { write_field(data, tree + key, field); });
}

fs::path find_flat_file(const cameraFeatures& record, const fs::path& project_folder,
                        SearchLog log) {
    const auto tell = [log](const std::string& line) {
        if (log == SearchLog::written) get_log().write(LogLevel::progress, line);
    };
    const std::string& name = record.flat_file;
    if (name.empty()) return {};
    std::vector<fs::path> folders{fs::path(record.camera).parent_path(), project_folder};
    std::erase_if(folders, [](const fs::path& folder) { return folder.empty(); });
    if (fs::path(name).is_absolute() && is_file(name)) return name;
    if (fs::path(name).is_relative())
        for (const fs::path& folder : folders)
            if (is_file(folder / name)) return folder / name;
    tell("File " + name + " not exists");

    const std::string base_name = name.substr(name.find_last_of("/\\") + 1);
    for (const fs::path& folder : folders) {
        fs::path alternate = folder / base_name;
        if (is_file(alternate)) return alternate;
        tell(alternate.string() + " - wrong alternate path");
    }
    return {};
}

}  // namespace vyn
